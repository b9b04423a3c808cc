#include "programs/phone/Init.h"

#include <cstdio>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "handset/Errors.h"
#include "handset/Handset.h"
#include "handset/store/Description.h"
#include "programs/phone/Commands.h"
#include "programs/phone/import/Files.h"
#include "programs/phone/import/Import.h"

namespace brelix_phone {
namespace {

nlohmann::json ReadDescription(const std::filesystem::path& file) {
  return file.empty() ? nlohmann::json::object() : handset::ReadDescriptionFile(file);
}

// Each source adds its part. What it cannot read is thrown before anything is made.
void Import(const InitSources& sources, const FileImport& files, nlohmann::json& description) {
  if (!sources.registry.empty()) ImportRegistry(sources.registry, description);
  files.Describe(description);
  if (!sources.contacts.empty()) ImportContacts(sources.contacts, description);
  if (!sources.agenda.empty()) ImportAgenda(sources.agenda, description);
  for (const std::string& mail : sources.mail) ImportMail(mail, description);
}

}  // namespace

int Init(const std::filesystem::path& folder, const InitSources& sources) {
  nlohmann::json description = ReadDescription(sources.description);
  const FileImport files = sources.files.empty() ? FileImport() : FileImport(sources.files);
  Import(sources, files, description);
  try {
    handset::Handset::Init(folder, description,
                           [&](const std::filesystem::path& made) { files.CopyTo(made / "files"); });
  } catch (const handset::DescriptionError& error) {
    throw handset::DescriptionError(error.GetPointer(), error.GetExpected(), error.GetFound(),
                                    sources.description.string());
  }
  fmt::print(stderr, "brelix-phone: made {}\n", folder.string());
  return kExitOk;
}

}  // namespace brelix_phone
