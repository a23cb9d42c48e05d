#include "ServiceToolName.h"

#include "Identification.h"

#include <unistd.h>

uint64_t serviceToolName() {
  IsoBusHost::Name_s name;
  name.selfConfigurable = true;
  name.function = 129;
  name.manufacturerCode = 733;
  name.identityNumber = static_cast<uint32_t>(getpid()) & 0x1FFFFFU;
  return encodeName(name);
}
