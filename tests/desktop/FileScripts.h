// Conversations about files, for a ScriptedPhone: what is asked, and the documents that come back.
#pragma once

#include <string>
#include <vector>

#include "desktop/Text.h"
#include "tests/desktop/RunBrelix.h"
#include "tests/desktop/ScriptedPhone.h"

namespace brelix::test {

inline const std::string kFileXml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

inline std::string EntryXml(const std::string& name, const std::string& size, const std::string& attr = "A",
                            const std::string& time = "20090712T134501Z") {
  return "    <name>" + name + "</name>\n    <modified>" + time + "</modified>\n    <attr>" + attr + "</attr>\n" +
         (size.empty() ? "" : "    <size>" + size + "</size>\n");
}

inline std::string FolderXml(const std::string& path, const std::string& entries, bool last = true) {
  return kFileXml + "<folder>\n  <name>" + path +
         "</name>\n  <modified>20090101T000000Z</modified>\n  <attr>D</attr>\n  <content>\n" + entries +
         (last ? "  </content>\n" : "") + "</folder>\n";
}

inline std::string Asks(const std::string& request, const std::string& answer) {
  return "expect " + request + "\nreply " + answer + "\n";
}

// 93 about a path; an empty document is an answer with the code.
inline std::string AsksInfo(const std::string& path, const std::string& entry, const std::string& code = "00000000") {
  const std::string document = entry.empty() ? "" : Hex(kFileXml + "<fileinfo>\n" + entry + "</fileinfo>\n");
  return Asks("1/93 " + Hex(path), "1/94 " + code + " " + document);
}

// A whole listing, in parts.
inline std::string AsksListing(const std::string& folder, const std::vector<std::string>& parts) {
  std::string script = Asks("1/51 " + Hex(folder + "\\*"), "1/52 00000000");
  for (size_t i = 0; i < parts.size(); i++) {
    const bool last = i + 1 == parts.size();
    script += Asks("1/53", "1/54 " + std::string(last ? "00000012 " : "00000000 ") +
                               Hex(FolderXml(folder + "\\", parts[i], last)));
  }
  return script;
}

// A file of one chunk that its size vouches for.
inline std::string AsksFile(const std::string& path, const std::string& bytes) {
  return Asks("1/57 " + Hex(path), "1/58 00000000") + Asks("1/59", "1/60 00000000 " + Hex(bytes));
}

inline const std::string kClosesFile = Asks("1/61", "1/62 00000000");

// Runs the command against a phone that follows the script.
inline Outcome Served(const std::string& script, std::vector<std::string> arguments, std::string& script_error) {
  ScriptedPhone phone(kBegin + script + kEnd);
  arguments.insert(arguments.begin(), {"-d", phone.Address(), "--window", "1"});
  Outcome outcome = RunBrelix(arguments);
  script_error = phone.Finish();
  return outcome;
}

}  // namespace brelix::test
