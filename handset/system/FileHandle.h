// A file that was opened for reading through a handle.
#pragma once

#include "handset/HandleTable.h"
#include "handset/net/UniqueFd.h"

namespace handset {

struct FileHandle : HandleObject {
  explicit FileHandle(UniqueFd opened) : HandleObject(Held::kFile), fd(std::move(opened)) {}

  const UniqueFd fd;
};

}  // namespace handset
