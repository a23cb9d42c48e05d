// What stands behind a published connection.
#pragma once

#include "VtConnection.h"

#include <utility>

struct __IsoAgLib::VtClientConnection_c::State_s {
  State_s(IsoBusHost::VtConnectionSettings_s settings, IdentItem_c::State_s& ident,
          const IsoBusHost::VtConnectionServers_c& servers)
      : connection(std::move(settings), ident, servers) {}

  IsoBusHost::VtConnection_c connection;
};
