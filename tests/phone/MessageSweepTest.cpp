// The commands that open message stores, with each of their calls failing in turn: what is answered, that nothing stays
// open, and that the next attempt works.
#include <gtest/gtest.h>

#include "handset/Calls.h"
#include "tests/support/EngineRun.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

const nlohmann::json kMailPhone = nlohmann::json::parse(R"({"accounts": [{"name": "Other"}, {"name": "A", "folders": [
  {"name": "F", "messages": [
    {"sender": {"name": "S", "address": "s"}, "subject": "in", "delivered": "2009-07-12T00:00:00Z"},
    {"recipients": [{"name": "R", "address": "r"}], "subject": "out", "delivered": "2009-07-11T00:00:00Z"}]}]}]})");

Bytes Name(const char* text) { return FromText(std::string(text) + '\0'); }

const Bytes kSelected = HandshakeAndOpen() + Frame(6, 1, 3, Name("A")) + Frame(6, 5, 4, Name("F"));
const Bytes kClear = Frame(6, 3, 0x77);

struct Swept {
  Bytes reply;                          // to the command whose call failed
  Bytes again;                          // to the same command, when nothing fails
  std::optional<handset::Call> failed;  // nothing when there were not that many calls
};

// Fails the n-th call that the command makes (0: none). Whatever happens, everything must be given back when the
// account is cleared, and by the commands that do not keep messages open at once.
Swept FailCallOf(std::uint16_t command, std::uint64_t n, int readBefore) {
  TestPhone phone(kMailPhone);
  Script script;
  Swept run;
  std::vector<std::string> held;
  std::size_t sent = 0;
  const auto give = [&](const Bytes& bytes, std::function<void()> before) {
    script.reads.push_back({Script::Read::Kind::kBytes, bytes, true, std::move(before)});
  };
  const auto newlySent = [&] {
    const Bytes reply(script.sent.begin() + static_cast<std::ptrdiff_t>(sent), script.sent.end());
    sent = script.sent.size();
    return reply;
  };
  script.Give(kSelected);
  give(Frame(6, 3, 5), [&] { held = phone->GetLedger().List(); });
  give(Frame(6, 1, 3, Name("A")) + Frame(6, 5, 4, Name("F")), [] {});
  for (int i = 0; i < readBefore; ++i) script.Give(Frame(6, 15, 6));
  give(Frame(6, command, 7), [&] {
    newlySent();
    phone->GetFaults().FailNth(n);
  });
  give(kClear, [&] {
    run.failed = phone->GetFaults().FiredCall();
    phone->GetFaults().FailNth(0);
    run.reply = newlySent();
    if (command != 15) {
      EXPECT_EQ(phone->GetLedger().List(), held);
    }
  });
  give(kSelected + Frame(6, command, 7), [&] { EXPECT_EQ(phone->GetLedger().List(), held); });
  give(kClear, [&] {
    const Bytes replies = newlySent();
    const Bytes wanted = FromHex("58585858 0006");
    const auto at = std::find_end(replies.begin(), replies.end(), wanted.begin(), wanted.end());
    run.again = Bytes(at, replies.end());
  });
  RunAlone(script);
  return run;
}

// The names of the calls in their order, failing each in turn; judge looks at each failure.
template <typename Judge>
std::vector<std::string> Sweep(std::uint16_t command, int readBefore, Judge judge) {
  const Swept whole = FailCallOf(command, 0, readBefore);
  std::vector<std::string> calls;
  for (std::uint64_t n = 1;; ++n) {
    SCOPED_TRACE(n);
    const Swept run = FailCallOf(command, n, readBefore);
    if (!run.failed) break;
    const handset::CallInfo& call = handset::InfoOf(*run.failed);
    SCOPED_TRACE(call.name);
    calls.emplace_back(call.name);
    // Somebody else's reference to an object changes nothing.
    if (call.name.ends_with("::Release")) {
      EXPECT_EQ(ToHex(run.reply), ToHex(whole.reply));
    } else {
      judge(run, call.code);
    }
    if (readBefore == 0) {
      EXPECT_EQ(ToHex(run.again), ToHex(whole.reply));
    }
  }
  return calls;
}

using Calls = std::vector<std::string>;

TEST(MessageSweep, lists_and_counts_answer_the_code_of_the_call_that_failed) {
  const auto code = [](std::uint16_t command) {
    return [command](const Swept& run, std::uint32_t result) {
      EXPECT_EQ(ToHex(run.reply), ToHex(ResultFrame(6, command + 1, 7, result)));
    };
  };
  EXPECT_EQ(Sweep(9, 0, code(9)),
            (Calls{"IMAPISession::GetMsgStoresTable", "IMAPITable::SetColumns", "IMAPITable::QueryRows",
                   "IMAPITable::QueryRows", "IMAPITable::QueryRows", "IMAPITable::Release"}));
  const Calls openAccount = {"IMAPISession::GetMsgStoresTable", "IMAPITable::SetColumns",
                             "IMAPITable::QueryRows",           "IMAPITable::QueryRows",
                             "IMAPISession::OpenMsgStore",      "IMsgStore::GetProps",
                             "IMAPISession::OpenEntry",         "IMAPIFolder::GetHierarchyTable"};
  const Calls closeAccount = {"IMAPITable::Release", "IMAPIFolder::Release", "IMsgStore::Release",
                              "IMAPITable::Release"};
  Calls expected = openAccount;
  for (const char* call : {"IMAPITable::SetColumns", "IMAPITable::QueryRows", "IMAPITable::QueryRows"}) {
    expected.emplace_back(call);
  }
  expected.insert(expected.end(), closeAccount.begin(), closeAccount.end());
  EXPECT_EQ(Sweep(11, 0, code(11)), expected);

  expected = openAccount;
  for (const char* call : {"IMAPITable::SetColumns", "IMAPITable::QueryRows", "IMAPISession::OpenEntry",
                           "IMAPIFolder::GetProps", "IMAPIFolder::Release"}) {
    expected.emplace_back(call);
  }
  expected.insert(expected.end(), closeAccount.begin(), closeAccount.end());
  EXPECT_EQ(Sweep(13, 0, code(13)), expected);
}

TEST(MessageSweep, a_message_is_read_or_the_code_answered) {
  Calls documents;
  const auto judge = [&](const Swept& run, std::uint32_t result) {
    if (run.reply == ResultFrame(6, 16, 7, result)) return;
    const std::string text(run.reply.begin(), run.reply.end());
    EXPECT_NE(text.find("</message>"), std::string::npos) << ToHex(run.reply);
    documents.emplace_back(handset::InfoOf(*run.failed).name);
  };
  // An incoming one, with the way down to it.
  const Calls incoming = Sweep(15, 0, judge);
  EXPECT_EQ(Calls(incoming.begin() + 11, incoming.end()),
            (Calls{"IMAPIFolder::GetContentsTable", "IMAPITable::SortTable", "IMAPITable::SetColumns",
                   "IMAPITable::QueryRows", "FileTimeToSystemTime", "IMAPIFolder::OpenEntry", "IMessage::GetProps",
                   "IMessage::Release"}));
  EXPECT_EQ(documents, (Calls{"FileTimeToSystemTime", "IMAPIFolder::OpenEntry", "IMessage::GetProps"}));
  // And an outgoing one behind it.
  documents.clear();
  EXPECT_EQ(Sweep(15, 1, judge), (Calls{"IMAPITable::QueryRows", "FileTimeToSystemTime", "IMAPIFolder::OpenEntry",
                                        "IMessage::GetRecipientTable", "IMAPITable::QueryRows", "IMAPITable::QueryRows",
                                        "IMAPITable::Release", "IMessage::Release"}));
  EXPECT_EQ(documents, (Calls{"FileTimeToSystemTime", "IMAPIFolder::OpenEntry", "IMessage::GetRecipientTable",
                              "IMAPITable::QueryRows", "IMAPITable::QueryRows"}));
}

TEST(MessageSweep, text_messages_close_the_service_and_answer_the_code) {
  for (const auto& [command, data] : {std::pair{std::uint16_t{17}, FromHex("01 00 2b31 00 74 00")},
                                      std::pair{std::uint16_t{19}, FromHex("00000001 00000000")}}) {
    for (std::uint64_t n = 1;; ++n) {
      SCOPED_TRACE(n);
      TestPhone phone(nlohmann::json{{"outbox", {{{"id", 1}, {"to", "+1"}, {"text", "t"}, {"options", 2}}}}});
      Script script;
      std::optional<handset::Call> failed;
      script.Give(HandshakeAndOpen());
      script.reads.push_back({Script::Read::Kind::kBytes, Frame(6, command, 7, data), true, [&] {
                                script.sent.clear();
                                phone->GetFaults().FailNth(n);
                              }});
      script.Give(Script::Read::Kind::kNothing, [&] {
        failed = phone->GetFaults().FiredCall();
        phone->GetFaults().FailNth(0);
        EXPECT_EQ(phone->GetLedger().Count(handset::Held::kSmsHandle), 0u);
      });
      RunAlone(script);
      if (!failed) break;
      const handset::CallInfo& call = handset::InfoOf(*failed);
      const bool forgiven = *failed == handset::Call::SmsClose;
      const std::uint32_t code = *failed == handset::Call::LocalAlloc ? 0x8007000E : call.code;
      const Bytes bare = ResultFrame(6, command + 1, 7, code);
      EXPECT_EQ(script.sent == bare, !forgiven) << call.name << " " << ToHex(script.sent);
    }
  }
}

TEST(MessageSweep, a_document_that_does_not_fit_becomes_a_bare_result) {
  nlohmann::json phone = kMailPhone;
  nlohmann::json message = nlohmann::json::object();
  const std::string head = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<message>\n  <direction>incoming</direction>\n";
  const std::string tail = "  <sender></sender>\n</message>";
  message["sender"]["name"] = std::string(929772 - head.size() - tail.size(), 'n');
  for (const bool fits : {true, false}) {
    if (!fits) message["subject"] = "s";
    phone["accounts"][1]["folders"][0]["messages"] = nlohmann::json::array({message});
    TestPhone made(phone);
    Script script;
    script.Give(kSelected);
    script.reads.push_back({Script::Read::Kind::kBytes, Frame(6, 15, 7), true, [&] { script.sent.clear(); }});
    RunAlone(script);
    EXPECT_EQ(script.sent.size(), fits ? 929792u : 20u);
    if (!fits) {
      EXPECT_EQ(ToHex(script.sent), ToHex(ResultFrame(6, 16, 7, 0x8007000E)));
    }
  }
}

}  // namespace
}  // namespace test
