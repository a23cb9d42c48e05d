// The operator's input and the other messages of a VT to a connected working set: each is answered, written into the
// record and told to the pool.
#pragma once

#include "VtConnectionLink.h"

#include <string>
#include <vector>

namespace IsoBusHost {

class VtConnectionInput_c {
public:
  VtConnectionInput_c(VtConnectionLink_c& link, IsoAgLib::iVtObjectPool_c& pool) : m_link(link), m_pool(pool) {}

  enum class Taken_e {
    taken,
    ignored,     // malformed, unknown, or about an object that the pool lacks
    poolDeleted, // the VT takes the pool down, for errorText()
  };
  Taken_e take(const std::vector<uint8_t>& data);

  const std::string& errorText() const { return m_errorText; }

private:
  Taken_e takeKey(const std::vector<uint8_t>& data);
  Taken_e takeSelection(const std::vector<uint8_t>& data);
  Taken_e takeNumber(const std::vector<uint8_t>& data);
  Taken_e takeText(const std::vector<uint8_t>& data);
  Taken_e takeMaskError(const std::vector<uint8_t>& data);
  Taken_e answer(const std::vector<uint8_t>& data);

  VtConnectionLink_c& m_link;
  IsoAgLib::iVtObjectPool_c& m_pool;
  std::string m_errorText;
};

} // namespace IsoBusHost
