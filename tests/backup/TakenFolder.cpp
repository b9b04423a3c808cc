#include "tests/backup/TakenFolder.h"

#include <gtest/gtest.h>
#include <utility>

#include "desktop/Client.h"
#include "desktop/backup/Domains.h"
#include "handset/Handset.h"

namespace test {

namespace {

using namespace brelix::backup;

constexpr const Domain* kDomains[] = {&kContactsDomain, &kAgendaDomain, &kCallsDomain, &kMessagesDomain};

class Listener final : public Watch {
 public:
  Listener(std::vector<std::string>& losses, std::function<void()> meanwhile)
      : m_losses(losses), m_meanwhile(std::move(meanwhile)) {}
  void Expect(std::optional<uint64_t>) override {}
  void Advance(uint64_t) override {
    if (m_meanwhile) std::exchange(m_meanwhile, {})();
  }
  void Lost(brelix::Problem problem) override { m_losses.push_back(problem.why); }
  void Notice(const std::string&) override {}

 private:
  std::vector<std::string>& m_losses;
  std::function<void()> m_meanwhile;
};

}  // namespace

MadePhone::MadePhone(const std::string& description) { handset::Handset::InitFromFile(Path(), description); }

MadePhone::MadePhone(const nlohmann::json& description) { handset::Handset::Init(Path(), description); }

TakenFolder::TakenFolder(const std::filesystem::path& phone, std::function<void()> meanwhile) {
  brelix::Session session(brelix::Connect("exec:" BRELIX_PHONE_COMMAND " rapi " + phone.string() + " --check-leaks",
                                          brelix::Clock::now() + std::chrono::seconds(20), -1),
                          {});
  brelix::Client(session).Start();
  PhoneFolder::MakeEmpty(Path());
  PhoneFolder folder = PhoneFolder::OpenForWriting(Path());
  Listener listener(m_losses, std::move(meanwhile));
  for (const Domain* domain : kDomains) domain->take({session, folder, listener});
  folder.MarkFinished();
}

std::vector<std::string> TakenFolder::Records() const {
  const PhoneFolder folder = PhoneFolder::OpenForReading(Path());
  std::vector<std::string> records;
  for (const Domain* domain : kDomains) {
    std::string last;
    domain->for_each(folder, [&](const Record& record) {
      EXPECT_LT(last, record.key);
      last = record.key;
      records.push_back(std::string(domain->name) + " " + record.key + " " + record.fields.dump());
    });
  }
  return records;
}

}  // namespace test
