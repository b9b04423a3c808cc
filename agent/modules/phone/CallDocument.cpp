// CCallLogModule, the document of one call.
#include "agent/engine/DocumentLines.h"
#include "agent/modules/phone/CallLogModule.h"
#include "agent/modules/phone/PhoneText.h"
#include "platform/Kernel.h"

namespace {

// Leaves as many bytes as the text before has, the first of them a zero.
void SkipLengthOf(CReplyWriter& reply, std::string_view text) {
  reply.U8(0);
  reply.Skip(static_cast<std::uint32_t>(text.size()) - 1);
}

// Chosen: a time that is none has zeros.
void LocalTime(CReplyWriter& reply, std::string_view name, const ce::FILETIME& utc) {
  ce::FILETIME local{};
  ce::SYSTEMTIME time{};
  if (ce::FileTimeToLocalFileTime(&utc, &local) == 0 || ce::FileTimeToSystemTime(&local, &time) == 0) {
    time = {};
  }
  // Kept(call-times-local-with-z): the phone's local time, although the Z says UTC.
  document::Element(reply, name, [&] { reply.Timestamp(time); });
}

struct FlagWord {
  ce::DWORD flag;
  std::string_view word;
};
constexpr FlagWord kFlagWords[] = {
    {ce::kCallConnected, "connected\""}, {ce::kCallEnded, "ended\""}, {ce::kCallRoaming, "roaming\""}};

// Kept(last-flag-word-wins): the words of all the flags are written to the same place, so the last one is read.
// Kept(no-flag-skips-seven): without a flag, as many bytes as the attribute's opening has are left as they were.
void FlagWordOf(CReplyWriter& reply, ce::DWORD flags, std::string_view opening) {
  std::string_view last;
  for (const FlagWord& row : kFlagWords) {
    last = (flags & row.flag) != 0 ? row.word : last;
  }
  if (last.empty()) {
    return SkipLengthOf(reply, opening);
  }
  reply.Text(last);
}

// Kept(odd-direction-skips-eleven): for a direction that has no word, as many bytes as the tag's opening has are left
// as they were, and the tag is not closed.
void CallType(CReplyWriter& reply, ce::DWORD direction, ce::DWORD flags) {
  constexpr std::string_view kOpening = "  <calltype";
  constexpr std::string_view kKind = " kind=\"";
  reply.Text(kOpening);
  switch (direction) {
    case ce::IOM_MISSED:
      reply.Text(">missed");
      break;
    case ce::IOM_INCOMING:
      reply.Text(">incoming");
      break;
    case ce::IOM_OUTGOING:
      reply.Text(kKind);
      FlagWordOf(reply, flags, kKind);
      reply.Text(">outgoing");
      break;
    default:
      SkipLengthOf(reply, kOpening);
      break;
  }
  reply.Text("</calltype>\n");
}

// Kept(odd-caller-id-skips-fourteen): for a type that has no word, as many bytes as the tag has are left as they were.
// Kept(caller-id-not-indented): the one element that does not begin with two blanks.
void CallerIdType(CReplyWriter& reply, ce::DWORD type) {
  constexpr std::string_view kOpening = "<calleridtype>";
  constexpr std::string_view kWords[] = {"unavailable", "blocked", "available"};
  static_assert(ce::CALLERIDTYPE_UNAVAILABLE == 0 && ce::CALLERIDTYPE_BLOCKED == 1 && ce::CALLERIDTYPE_AVAILABLE == 2);
  reply.Text(kOpening);
  if (type < std::size(kWords)) {
    reply.Text(kWords[type]);
  } else {
    SkipLengthOf(reply, kOpening);
  }
  reply.Text("</calleridtype>\n");
}

void TextElement(CReplyWriter& reply, std::string_view name, const CPhoneText& text) {
  if (!text.IsNull()) {
    document::Element(reply, name, [&] { reply.Utf8(text.View()); });
  }
}

}  // namespace

void CCallLogModule::ReadEntry(CReplyWriter& reply) {
  if (m_position > m_count) {
    return reply.SendResult(wire::kResultRefused);
  }
  ce::CALLLOGENTRY entry{};
  entry.cbSize = sizeof entry;
  const ce::HRESULT result = ce::PhoneGetCallLogEntry(m_log, &entry);
  if (result != ce::S_OK) {
    return reply.SendResult(static_cast<std::uint32_t>(result));
  }
  ++m_position;
  const CPhoneText number(entry.pszNumber);
  const CPhoneText phoneType(entry.pszNameType);
  const CPhoneText name(entry.pszName);
  const CPhoneText note(entry.pszNote);  // never written

  reply.U32(wire::kResultOk);
  reply.XmlHeader();
  reply.Text("<logentry>\n");
  LocalTime(reply, "startcall", entry.ftStartTime);
  LocalTime(reply, "endcall", entry.ftEndTime);
  CallType(reply, entry.iom, entry.flags);
  CallerIdType(reply, entry.cidt);
  TextElement(reply, "number", number);
  TextElement(reply, "phonetype", phoneType);
  TextElement(reply, "name", name);
  reply.Text("</logentry>");
  reply.Send();
}
