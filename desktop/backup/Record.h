// A domain's contents as records, in the one form that digests are made of and that differences are told in.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>

namespace brelix::backup {

// One thing of a domain. Records of the same key in two phones are the same thing, changed or not; a domain hands its
// records out by rising keys (compared byte by byte), no key twice, so that two phones can be compared side by side
// without either in memory.
struct Record {
  std::string key;        // UTF-8, for people too: "0000000007", "\My Documents\a.txt"
  nlohmann::json fields;  // an object; texts as handset::TextToJson has them, so that nothing is lost or merged
};

using RecordSink = std::function<void(const Record&)>;

}  // namespace brelix::backup
