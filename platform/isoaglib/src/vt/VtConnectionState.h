// What stands behind a published connection.
#pragma once

#include "IsoAgLib/vtclient.h"

struct __IsoAgLib::VtClientConnection_c::State_s {
  VtServerSelection selection;
  IsoAgLib::iVtObjectPool_c* pool = nullptr;
  IsoAgLib::iVtClientState_t state = IsoAgLib::VtClientWaitsForAddress;
  IsoAgLib::iVtProperties_s properties{};
};
