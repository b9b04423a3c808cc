// CSystemModule, folders: the entries that match a pattern, told in parts, and the details of one file.
#include "agent/engine/DocumentLines.h"
#include "agent/modules/system/SystemModule.h"
#include "platform/Kernel.h"

namespace {

// A part takes no more entries once its document has so many bytes, the XML declaration among them.
constexpr std::uint32_t kPartLimit = 16240;
constexpr std::uint32_t kResultLen = 4;

struct AttributeLetter {
  ce::DWORD attribute;
  char letter;
};
constexpr AttributeLetter kAttributeLetters[] = {
    {ce::FILE_ATTRIBUTE_DIRECTORY, 'D'}, {ce::FILE_ATTRIBUTE_ARCHIVE, 'A'},  {ce::FILE_ATTRIBUTE_HIDDEN, 'H'},
    {ce::FILE_ATTRIBUTE_SYSTEM, 'S'},    {ce::FILE_ATTRIBUTE_READONLY, 'R'},
};

// Chosen: a time that has no calendar form shows as zeros.
ce::SYSTEMTIME CalendarTime(const ce::FILETIME& fileTime) {
  ce::SYSTEMTIME time{};
  return ce::FileTimeToSystemTime(&fileTime, &time) != 0 ? time : ce::SYSTEMTIME{};
}

ce::HANDLE FindFirst(const char16_t* path, ce::WIN32_FIND_DATAW& match) {
  return ce::FindFirstFileExW(path, ce::FindExInfoStandard, &match, ce::FindExSearchNameMatch, nullptr, 0);
}

// What folders and files have in common. An entry has no element of its own: its elements follow one another, and the
// next entry's name begins the next one.
void WriteEntry(CReplyWriter& reply, std::string_view indent, std::u16string_view name, const ce::SYSTEMTIME& modified,
                ce::DWORD attributes) {
  document::Element(reply, indent, "name", [&] { reply.Utf8(name); });
  document::Element(reply, indent, "modified", [&] { reply.Timestamp(modified); });
  document::Element(reply, indent, "attr", [&] {
    for (const AttributeLetter& row : kAttributeLetters) {
      if ((attributes & row.attribute) != 0) {
        reply.U8(static_cast<std::uint8_t>(row.letter));
      }
    }
  });
}

}  // namespace

// Kept(file-size-low-word-signed): of the size, the low 32 bits as a signed number: from 2 GiB up it is negative, and
// from 4 GiB up it begins again.
void CSystemModule::WriteMatch(CReplyWriter& reply) const {
  constexpr std::string_view kIndent = "    ";
  WriteEntry(reply, kIndent, TextIn(m_match.cFileName), CalendarTime(m_match.ftLastWriteTime),
             m_match.dwFileAttributes);
  if ((m_match.dwFileAttributes & ce::FILE_ATTRIBUTE_DIRECTORY) == 0) {
    document::Element(reply, kIndent, "size", [&] { reply.Dec(static_cast<std::int32_t>(m_match.nFileSizeLow)); });
  }
}

// Kept(folder-told-by-first-entry): the time and the attributes of the first entry stand for the folder's own.
void CSystemModule::OpenListing(CReplyWriter& reply) {
  if (!CloseOpenHandle(reply)) {
    return;
  }
  m_handleKind = HandleKind::kFind;
  const std::u16string_view path = TakePath();
  m_handle = FindFirst(m_path.data(), m_match);
  if (m_handle == ce::INVALID_HANDLE_VALUE) {
    return reply.SendResult(ce::GetLastError());
  }
  const std::u16string_view folder = path.substr(0, path.rfind(u'\\') + 1).substr(0, m_folder.size() - 1);
  m_folder[folder.copy(m_folder.data(), folder.size())] = 0;
  m_folderAttributes = m_match.dwFileAttributes;
  m_folderTime = CalendarTime(m_match.ftLastWriteTime);
  reply.SendResult(wire::kResultOk);
}

// Kept(listing-repeats-last-entry): the entry that ended a part begins the next one. Kept(listing-complete-is-18): the
// part that ends the listing has the platform's "no more files" as its result; one that does not has 0 and leaves its
// content element open. Asked again, a listing that is complete repeats its last entry.
void CSystemModule::NextListingPart(CReplyWriter& reply) {
  reply.U32(wire::kResultOk);
  reply.XmlHeader();
  reply.Text("<folder>\n");
  WriteEntry(reply, "  ", TextIn(m_folder), m_folderTime, m_folderAttributes);
  reply.Text("  <content>\n");
  WriteMatch(reply);
  while (reply.DataLen() - kResultLen < kPartLimit) {
    if (ce::FindNextFileW(m_handle, &m_match) != 0) {
      WriteMatch(reply);
      continue;
    }
    const ce::DWORD error = ce::GetLastError();
    if (error == ce::ERROR_NO_MORE_FILES) {
      reply.Text("  </content>\n");
      reply.SetResult(error);
    } else if (error != ce::ERROR_SUCCESS) {
      return reply.SendResult(error);
    }
    break;
  }
  reply.Text("</folder>\n");
  reply.Send();
}

// Kept(details-overwrite-listing-entry): the record of the listing's current entry serves here too, so that the next
// part begins with this file, or with an empty entry when there was none.
void CSystemModule::FileDetails(CReplyWriter& reply) {
  TakePath();
  m_match = {};
  const ce::HANDLE find = FindFirst(m_path.data(), m_match);
  if (find == ce::INVALID_HANDLE_VALUE) {
    const ce::DWORD error = ce::GetLastError();
    return reply.SendResult(error == ce::ERROR_NO_MORE_FILES ? ce::ERROR_FILE_NOT_FOUND : error);
  }
  ce::FindClose(find);
  reply.U32(wire::kResultOk);
  reply.XmlHeader();
  reply.Text("<fileinfo>\n");
  WriteMatch(reply);
  reply.Text("</fileinfo>\n");
  reply.Send();
}
