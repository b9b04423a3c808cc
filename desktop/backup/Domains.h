// The domains that there are, each in a source of its own.
#pragma once

#include "desktop/backup/Domain.h"

namespace brelix::backup {

extern const Domain kDeviceDomain;
extern const Domain kContactsDomain;
extern const Domain kAgendaDomain;
extern const Domain kCallsDomain;
extern const Domain kMessagesDomain;
extern const Domain kFilesDomain;
extern const Domain kRegistryDomain;

}  // namespace brelix::backup
