// The domains that there are, each in a source of its own.
#pragma once

#include "desktop/backup/Domain.h"

namespace brelix::backup {

extern const Domain kDeviceDomain;

}  // namespace brelix::backup
