// brelix-phone init: a phone from a description and from what people already have.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace brelix_phone {

// More sources: a member, an option in Main.cpp, a line in Init.cpp's Import or Complete, a file in import/.
struct InitSources {
  std::filesystem::path description;  // JSON; a phone of defaults where it is empty
  std::filesystem::path contacts;     // a vCard file
  std::filesystem::path agenda;       // iCalendar
  std::filesystem::path files;        // a folder, copied
  std::filesystem::path registry;     // a .reg file
  std::vector<std::string> mail;      // ACCOUNT/FOLDER=FILE, the file in mbox format
};

// Makes the folder, or throws and leaves nothing. What a source holds and a phone cannot is told on standard error.
int Init(const std::filesystem::path& folder, const InitSources& sources);

}  // namespace brelix_phone
