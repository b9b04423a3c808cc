// CSystemModule, the two device documents: what the phone is, and what state it is in.
#include "agent/modules/system/SystemModule.h"
#include "platform/Kernel.h"

namespace {

struct BatteryWord {
  ce::BYTE flag;  // BATTERY_FLAG_... of winbase.h
  std::string_view word;
};

constexpr BatteryWord kBatteryWords[] = {
    {1, "high"}, {2, "low"}, {4, "critical"}, {8, "charging"}, {128, "absent"},
};

// Kept(battery-flag-by-equality): a combined flag, such as high and charging together, is "unknown".
std::string_view WordOf(ce::BYTE batteryFlag) {
  for (const BatteryWord& row : kBatteryWords) {
    if (row.flag == batteryFlag) {
      return row.word;
    }
  }
  return "unknown";
}

// A document in the making: one element a line, two blanks in front of it.
class CDocument {
 public:
  CDocument(CReplyWriter& reply, std::string_view root) : m_reply(reply), m_root(root) {
    m_reply.U32(wire::kResultOk);
    m_reply.XmlHeader();
    m_reply.Text("<");
    m_reply.Text(m_root);
    m_reply.Text(">\n");
  }

  // write() puts the element's content into the reply.
  template <class Write>
  void Element(std::string_view name, Write write) {
    m_reply.Text("  <");
    m_reply.Text(name);
    m_reply.Text(">");
    write();
    m_reply.Text("</");
    m_reply.Text(name);
    m_reply.Text(">\n");
  }
  void Utf8(std::string_view name, std::u16string_view text) {
    Element(name, [&] { m_reply.Utf8(text); });
  }
  void Text(std::string_view name, std::string_view text) {
    Element(name, [&] { m_reply.Text(text); });
  }
  // Kept(unsigned-counts-printed-signed): values from 0x80000000 up appear negative.
  void Dec(std::string_view name, std::uint32_t value) {
    Element(name, [&] { m_reply.Dec(static_cast<std::int32_t>(value)); });
  }

  void Send() {
    m_reply.Text("</");
    m_reply.Text(m_root);
    m_reply.Text(">\n");
    m_reply.Send();
  }

 private:
  CReplyWriter& m_reply;
  std::string_view m_root;
};

}  // namespace

// Kept(cpu-elements-carry-radio): cpumanufacturer and cpumodel name the radio's maker and model, not the processor's.
void CSystemModule::PermanentInfo(CReplyWriter& reply) {
  CDocument document(reply, "permanentinfo");
  document.Utf8("cpumanufacturer", m_radio.Manufacturer());
  document.Utf8("cpumodel", m_radio.Model());
  document.Utf8("radioversion", m_radio.Revision());
  // Kept(imei-by-low-bytes): the only text of the document that is not converted to UTF-8.
  document.Element("imei", [&] { reply.LowBytes(m_radio.SerialNumber()); });

  ce::OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof version;
  if (ce::GetVersionExW(&version) != 0) {
    document.Element("osversion", [&] {
      reply.Dec(static_cast<std::int32_t>(version.dwMajorVersion));
      reply.U8('.');
      reply.Dec(static_cast<std::int32_t>(version.dwMinorVersion));
      reply.U8('.');
      reply.Dec(static_cast<std::int32_t>(version.dwBuildNumber));
    });
  }
  if (!CardFolder().empty()) {
    document.Utf8("flashfolder", CardFolder());
  }
  document.Send();
}

void CSystemModule::VolatileInfo(CReplyWriter& reply) {
  CDocument document(reply, "volatileinfo");
  ce::SYSTEMTIME now{};
  ce::GetLocalTime(&now);
  // Kept(local-time-with-z): the phone's local time, although the Z says UTC.
  document.Element("phonetime", [&] { reply.Timestamp(now); });

  ce::MEMORYSTATUS memory{};
  memory.dwLength = sizeof memory;
  ce::GlobalMemoryStatus(&memory);
  document.Dec("memoryload", memory.dwMemoryLoad);
  document.Dec("totalmemory", memory.dwTotalPhys);
  document.Dec("availmemory", memory.dwAvailPhys);

  // Chosen: a power query that failed leaves the percentage unknown as well.
  ce::SYSTEM_POWER_STATUS_EX2 power{};
  power.BatteryLifePercent = ce::BATTERY_PERCENTAGE_UNKNOWN;
  const bool powerKnown = ce::GetSystemPowerStatusEx2(&power, sizeof power, 1) != 0;
  if (powerKnown) {
    document.Text("acpower", power.ACLineStatus == ce::AC_LINE_ONLINE ? "on" : "off");
  }
  document.Text("batterystatus", powerKnown ? WordOf(power.BatteryFlag) : "unknown");
  if (powerKnown && power.BatteryLifePercent < ce::BATTERY_PERCENTAGE_UNKNOWN) {
    document.Dec("batterylifepercent", power.BatteryLifePercent);
  } else {
    document.Text("batterylifepercent", "unknown");
  }
  document.Send();
}
