// brelix against a served phone: what it prints is what the phone was described as, over every kind of link.
#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

const nlohmann::json kDescription = {
    {"clock", {{"localTime", "2009-07-12T13:45:01.250"}}},
    {"lines",
     {{{"name", "Cellular Line"},
       {"manufacturer", "Northgate Radio"},
       {"model", "NR-500"},
       {"revision", "7.07"},
       {"serialNumber", "990000500100427"},
       {"subscriberNumber", "+15550100"}}}},
    {"os", {{"major", 5}, {"minor", 2}, {"build", 1620}}},
    {"memory", {{"load", 47}, {"totalPhysical", 50696192}, {"availablePhysical", 26865664}}},
    {"power", {{"acLine", 1}, {"batteryFlag", 1}, {"batteryPercent", 87}}},
    {"registry",
     {{{"key", "HKLM\\System\\StorageManager\\Profiles\\SDMMC"},
       {"values", {{{"name", "Folder"}, {"type", "sz"}, {"data", "Storage Card"}}}}}}},
};

const nlohmann::json kInfo = {
    {"imei", "990000500100427"}, {"number", "+15550100"},    {"manufacturer", "Northgate Radio"}, {"model", "NR-500"},
    {"radio_version", "7.07"},   {"os_version", "5.2.1620"}, {"storage_card", "Storage Card"},
};

// Every key of expected, with its value.
void ExpectHas(const Outcome& outcome, const nlohmann::json& expected) {
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const nlohmann::json printed = nlohmann::json::parse(outcome.out, nullptr, false);
  ASSERT_TRUE(printed.is_object()) << outcome.out;
  for (const auto& [key, value] : expected.items()) {
    EXPECT_EQ(printed.value(key, nlohmann::json("missing")), value) << key << " in " << outcome.out;
  }
}

void ExpectAgreement(const std::string& device) {
  SCOPED_TRACE(device);
  ExpectHas(Brelix({"-d", device, "--json", "info"}), kInfo);
  ExpectHas(Brelix({"-d", device, "--json", "status"}), {{"memory_load_percent", 47},
                                                         {"memory_total_bytes", 50696192},
                                                         {"memory_available_bytes", 26865664},
                                                         {"ac_power", true},
                                                         {"battery", "high"},
                                                         {"battery_percent", 87}});
  const Outcome clock = Brelix({"-d", device, "--json", "clock"});
  EXPECT_EQ(clock.code, 0) << clock.err;
  EXPECT_NE(clock.out.find("2009-07-12T13:45:01"), std::string::npos) << clock.out;
}

TEST(Session, brelix_prints_what_the_description_says_over_every_link) {
  const PhoneFolder phone(kDescription);
  for (const std::string& listen : {std::string("tcp:127.0.0.1:0"), "unix:" + phone.SocketPath()}) {
    Server server(phone, listen);
    ExpectAgreement(server.Address());
    const Outcome end = server.End(SIGTERM);
    EXPECT_EQ(end.code, 0) << end.err;
  }
  EXPECT_FALSE(std::filesystem::exists(phone.SocketPath()));
  ExpectAgreement("exec:" BRELIX_PHONE_COMMAND " rapi " + phone.Path() + " --check-leaks");
}

TEST(Session, real_time_runs_with_the_hosts_clock) {
  const nlohmann::json description = {{"clock", {{"utcOffsetMinutes", 0}}}};
  const PhoneFolder phone(description);
  Server server(phone, "unix:" + phone.SocketPath());
  const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const Outcome clock = Brelix({"-d", server.Address(), "--json", "clock"});
  const auto after = std::chrono::system_clock::now();
  ASSERT_EQ(clock.code, 0) << clock.err;
  bool seen = false;
  for (auto time = before; time <= after; time += std::chrono::seconds(1)) {
    const std::time_t point = std::chrono::system_clock::to_time_t(time);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", std::gmtime(&point));
    seen = seen || clock.out.find(text) != std::string::npos;
  }
  EXPECT_TRUE(seen) << clock.out;
  EXPECT_EQ(server.End(SIGINT).code, 0);
}

TEST(Session, raw_and_trace_show_the_frames) {
  const PhoneFolder phone(kDescription);
  Server server(phone, "unix:" + phone.SocketPath());
  const std::string trace = phone.Path() + ".trace";
  const Outcome raw = Brelix({"-d", server.Address(), "--json", "--trace", trace, "raw", "1", "7"});
  EXPECT_EQ(raw.code, 0) << raw.err;
  EXPECT_NE(raw.out.find("00000000393930303030353030313030343237"), std::string::npos) << raw.out;
  EXPECT_GT(ReadFile(trace).size(), 200u);
  EXPECT_EQ(Brelix({"-d", server.Address(), "raw", "2", "1"}).code, 7) << "nobody serves module 2";
  EXPECT_EQ(server.End(SIGTERM).code, 0);
}

}  // namespace
}  // namespace test
