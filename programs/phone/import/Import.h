// What people already have, as parts of a phone's description (docs/handset.md). Each adds to `description` what it
// finds, tells on standard error what a phone cannot hold, and throws std::runtime_error with "FILE:LINE: what is
// wrong" for a source that it cannot read.
#pragma once

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace brelix_phone {

// A vCard file as "contacts". A card that is damaged is left out, and told.
void ImportContacts(const std::filesystem::path& file, nlohmann::json& description);

// Appointments of an iCalendar file. Times in UTC become local by the described phone's clock.
void ImportAgenda(const std::filesystem::path& file, nlohmann::json& description);

// "ACCOUNT/FOLDER=FILE": the messages of an mbox file, in that folder. Throws std::invalid_argument for another form.
void ImportMail(const std::string& source, nlohmann::json& description);

// A registry file in text as "registry"; where the description has the same value, the file's holds.
void ImportRegistry(const std::filesystem::path& file, nlohmann::json& description);

}  // namespace brelix_phone
