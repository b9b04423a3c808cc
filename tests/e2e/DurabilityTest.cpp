// brelix-phone is killed at random points under a stream of changes: each change is on the disk when its reply has
// come, and a change whose reply has not come happened as a whole or not at all.
#include <fcntl.h>
#include <random>
#include <sqlite3.h>
#include <sys/wait.h>

#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

constexpr int kKills = 200;
// Kills come at any time between the first change of a session and so many changes later.
constexpr int kChangesARun = 4;
constexpr int kMeasuredChanges = 40;

// A session over the pipes of its own brelix-phone.
class KilledSession {
 public:
  explicit KilledSession(const std::string& phone) {
    int to[2], from[2];
    if (pipe2(to, O_CLOEXEC) != 0 || pipe2(from, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    m_process = fork();
    if (m_process == 0) {
      dup2(to[0], STDIN_FILENO);
      dup2(from[1], STDOUT_FILENO);
      execl(BRELIX_PHONE_COMMAND, "brelix-phone", "rapi", phone.c_str(), nullptr);
      _exit(127);
    }
    close(to[0]);
    close(from[1]);
    m_to = to[1];
    m_from = from[0];
  }
  ~KilledSession() {
    close(m_to);
    close(m_from);
    int status = 0;
    EXPECT_EQ(waitpid(m_process, &status, 0), m_process);
    EXPECT_TRUE(WIFSIGNALED(status)) << "ended by itself, status " << status;
  }
  KilledSession(const KilledSession&) = delete;
  KilledSession& operator=(const KilledSession&) = delete;

  // The reply's data, or nothing when the phone is gone.
  Bytes Ask(std::uint16_t module, std::uint16_t command, const Bytes& data, std::size_t replyData) {
    const Bytes frame = Frame(module, command, 1, data);
    if (write(m_to, frame.data(), frame.size()) != static_cast<ssize_t>(frame.size())) return {};
    Bytes reply(16 + replyData);
    for (std::size_t have = 0; have < reply.size();) {
      const ssize_t more = read(m_from, reply.data() + have, reply.size() - have);
      if (more <= 0) return {};
      have += static_cast<std::size_t>(more);
    }
    return {reply.begin() + 10, reply.end() - 6};
  }
  void KillAfter(std::chrono::microseconds time) {
    std::this_thread::sleep_for(time);
    kill(m_process, SIGKILL);
  }

 private:
  pid_t m_process = -1;
  int m_to = -1;
  int m_from = -1;
};

// What the changes change. Each change has the next number, and leaves it in what it writes.
struct State {
  int change = 0;
  std::string contact = "0";  // every text of contact 1
  std::string picture = "0";  // of contact 1
  std::string extra;          // every text of the other contact; empty when there is none

  State Next() const {
    State next = *this;
    const std::string text = std::to_string(++next.change);
    switch (next.change % 4) {
      case 0:
        next.contact = text;
        break;
      case 1:
        next.picture = text;
        break;
      case 2:
        next.extra = text;
        break;
      default:
        next.extra.clear();
    }
    return next;
  }
};

// Texts that are saved through both interfaces of a contact, first and last of each among them.
const char* const kElements[] = {"FirstName",  "BusinessAddressCountry", "FileAs", "Body", "ManagerName", "IM2Address",
                                 "CustomerID", "GovernmentIDNumber"};

Bytes Document(const std::string& text) {
  std::string document = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<contactentry>\n";
  for (const std::string element : kElements) document += "<" + element + ">" + text + "</" + element + ">\n";
  return FromText(document + "</contactentry>");
}

// Whether the change was answered. extraOid is that of the other contact.
bool Make(KilledSession& session, const State& after, std::uint32_t& extraOid) {
  switch (after.change % 4) {
    case 0:
      return session.Ask(3, 13, U32(1) + Document(after.contact), 8) == U32(0) + U32(1);
    case 1:
      return session.Ask(3, 15, FromText(after.picture), 4) == U32(0) && session.Ask(3, 17, U32(1), 4) == U32(0);
    case 2: {
      const Bytes reply = session.Ask(3, 13, U32(0) + Document(after.extra), 8);
      if (reply.size() == 8) extraOid = static_cast<std::uint32_t>(reply[6] << 8 | reply[7]);
      return reply.size() == 8;
    }
    default:
      return session.Ask(3, 11, U32(extraOid), 4) == U32(0);
  }
}

class Database {
 public:
  explicit Database(const std::string& file) { EXPECT_EQ(sqlite3_open(file.c_str(), &m_database), SQLITE_OK); }
  ~Database() { sqlite3_close(m_database); }
  // The columns of the only row, one string; empty without a row.
  std::string Row(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(m_database, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
        << sqlite3_errmsg(m_database);
    std::string row;
    if (sqlite3_step(statement) == SQLITE_ROW) {
      for (int i = 0; i < sqlite3_column_count(statement); ++i) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
        row += std::string(i > 0 ? "|" : "") + (text != nullptr ? text : "null");
      }
      EXPECT_NE(sqlite3_step(statement), SQLITE_ROW) << "one row only: " << sql;
    }
    sqlite3_finalize(statement);
    return row;
  }

 private:
  sqlite3* m_database = nullptr;
};

// All that a state says of the database, and the same as the database has it.
std::string Expected(const State& state) {
  const auto texts = [](const std::string& text) {
    std::string all;
    for (std::size_t i = 0; i < std::size(kElements); ++i) all += (i > 0 ? "|" : "") + text;
    return all;
  };
  return texts(state.contact) + " " + state.picture + " " + (state.extra.empty() ? "" : texts(state.extra));
}

std::string Found(Database& database) {
  std::string columns;
  for (const std::string element : kElements) columns += (columns.empty() ? "" : ", ") + element;
  return database.Row("SELECT " + columns + " FROM contact WHERE oid = 1") + " " +
         database.Row("SELECT data FROM contact_picture WHERE contact = 1") + " " +
         database.Row("SELECT " + columns + " FROM contact JOIN item USING (oid) WHERE oid <> 1");
}

class Durability : public testing::Test {
 protected:
  // Makes so many changes, and more until the phone is killed, and goes on with what the database then has.
  void RunUntilKilled(int changes, std::chrono::microseconds time) {
    {
      KilledSession session(m_phone.Path());
      ASSERT_EQ(session.Ask(1, 247, {}, 4), U32(0));
      ASSERT_EQ(session.Ask(1, 1, {}, 12).size(), 12U);
      ASSERT_EQ(session.Ask(3, 1, {}, 4), U32(0));
      std::uint32_t extraOid = 0;
      const std::string oid = Database(m_file).Row("SELECT oid FROM item WHERE oid <> 1");
      if (!oid.empty()) extraOid = static_cast<std::uint32_t>(std::stoul(oid));
      const auto begin = std::chrono::steady_clock::now();
      for (int i = 0; i < changes; ++i) {
        ASSERT_TRUE(Make(session, m_state.Next(), extraOid));
        m_state = m_state.Next();
      }
      m_took = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
      std::thread killer([&] { session.KillAfter(time); });
      while (Make(session, m_state.Next(), extraOid)) m_state = m_state.Next();
      killer.join();
    }
    Database database(m_file);
    const std::string found = Found(database);
    const bool wasMade = found == Expected(m_state.Next());
    if (wasMade) m_state = m_state.Next();
    ++(wasMade ? m_made : m_notMade);
    ASSERT_EQ(found, Expected(m_state)) << "at change " << m_state.change;
  }

  static nlohmann::json Description() {
    nlohmann::json contact = {{"oid", 1}, {"Picture", "MA=="}};
    for (const char* element : kElements) contact[element] = "0";
    return {{"contacts", {contact}}};
  }

  const PhoneFolder m_phone{Description()};
  const std::string m_file = m_phone.Path() + "/phone.db";
  State m_state;
  int m_made = 0, m_notMade = 0;
  std::chrono::microseconds m_took{};
};

TEST_F(Durability, a_killed_phone_has_every_change_whole_or_not_at_all) {
  signal(SIGPIPE, SIG_IGN);
  ASSERT_NO_FATAL_FAILURE(RunUntilKilled(kMeasuredChanges, {}));
  const auto longest = m_took * kChangesARun / kMeasuredChanges;
  const int before = m_state.change;
  std::mt19937 random(4711);
  for (int round = 0; round < kKills; ++round) {
    SCOPED_TRACE(round);
    ASSERT_NO_FATAL_FAILURE(RunUntilKilled(1, std::chrono::microseconds(random() % longest.count())));
  }
  std::printf("%d changes, %d kills: %d times the change under way had happened, %d times it had not\n",
              m_state.change - before, kKills, m_made, m_notMade);
  EXPECT_GT(m_state.change - before, kKills * 3 / 2) << "hardly anything was under way";
}

}  // namespace
}  // namespace test
