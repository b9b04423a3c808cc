// The files that a description gives, made in a new phone.
#pragma once

#include "handset/store/Description.h"
#include "handset/system/FileRoot.h"

namespace handset {

// The caller brings them to the disk. Throws DescriptionError for a file that is there already or cannot be made, and
// for one that is not to be made and is not there.
void MakeFiles(const FileRoot& root, const std::vector<PhoneFile>& files);

}  // namespace handset
