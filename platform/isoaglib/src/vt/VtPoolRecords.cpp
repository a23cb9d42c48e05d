#include "VtObjectRecords.h"
#include "VtPoolLayout.h"
#include "VtSeam.h"

#include <algorithm>
#include <string_view>

using namespace IsoAgLib;

namespace IsoBusHost {

namespace {

// PoolWriter_c: appends records to a pool, the lowest byte of a number first.
class PoolWriter_c {
public:
  PoolWriter_c(std::vector<uint8_t>& pool, const VtColourClip& clip) : m_pool(pool), m_clip(clip) {}

  void add(const __IsoAgLib::vtObject_c& object) {
    add16(object.getID());
    add8(object.objectType());
    const VtRecord_c record(object.get_vtObject_a());
    for (const VtField_s& field : *vtLayoutOf(object.objectType())) {
      addField(object, record, field);
    }
  }

private:
  void add8(uint8_t value) { m_pool.push_back(value); }
  void add16(uint16_t value) {
    add8(static_cast<uint8_t>(value));
    add8(static_cast<uint8_t>(value >> 8));
  }
  void add32(uint32_t value) {
    add16(static_cast<uint16_t>(value));
    add16(static_cast<uint16_t>(value >> 16));
  }

  void addField(const __IsoAgLib::vtObject_c& object, const VtRecord_c& record, const VtField_s& field) {
    switch (field.kind) {
    case VtFieldKind_e::number8:
      return add8(record.at<uint8_t>(field.position));
    case VtFieldKind_e::number16:
      return add16(record.at<uint16_t>(field.position));
    case VtFieldKind_e::number32:
      return add32(record.at<uint32_t>(field.position));
    case VtFieldKind_e::colour:
      return add8(m_clip(record.at<uint8_t>(field.position), object, field.colourKind));
    case VtFieldKind_e::reference:
      return add16(vtObjectID(record.at<const iVtObject_c*>(field.position)));
    case VtFieldKind_e::text8:
      add8(static_cast<uint8_t>(record.at<uint16_t>(field.countPosition)));
      return addText(record, field);
    case VtFieldKind_e::text16:
      add16(record.at<uint16_t>(field.countPosition));
      return addText(record, field);
    case VtFieldKind_e::macros:
      return add8(0);
    case VtFieldKind_e::children:
      return addChildren(record.at<const iVtChild_s*>(field.position), record.count(field));
    case VtFieldKind_e::objects:
      return addObjects(record.at<const iVtObject_c* const*>(field.position), record.count(field));
    case VtFieldKind_e::points:
      return addPoints(record.at<const iVtPoint_s*>(field.position), record.count(field));
    case VtFieldKind_e::languages:
      return addLanguages(record.at<const char*>(field.position), record.count(field));
    }
  }

  // The text up to its NUL, and blanks up to the length; in UTF-16 both are two bytes.
  void addText(const VtRecord_c& record, const VtField_s& field) {
    const char* value = record.at<const char*>(field.position);
    const std::size_t length = record.at<uint16_t>(field.countPosition);
    const std::string_view storage = value == nullptr ? std::string_view() : std::string_view(value, length);
    const bool isUtf16 = storage.substr(0, 2) == "\xFF\xFE";
    const std::size_t textLength = isUtf16 ? endOfUtf16(storage) : std::min(storage.find('\0'), storage.size());
    for (const char character : storage.substr(0, textLength)) {
      add8(static_cast<uint8_t>(character));
    }
    for (std::size_t index = textLength; index < length; ++index) {
      add8(isUtf16 && index % 2 != 0 ? 0 : ' ');
    }
  }

  static std::size_t endOfUtf16(std::string_view text) {
    std::size_t end = 0;
    while (end + 1 < text.size() && (text[end] != '\0' || text[end + 1] != '\0')) {
      end += 2;
    }
    return end;
  }

  void addChildren(const iVtChild_s* children, std::size_t count) {
    for (std::size_t index = 0; index < count; ++index) {
      add16(vtObjectID(children[index].object));
      add16(static_cast<uint16_t>(children[index].x));
      add16(static_cast<uint16_t>(children[index].y));
    }
  }

  void addObjects(const iVtObject_c* const* objects, std::size_t count) {
    for (std::size_t index = 0; index < count; ++index) {
      add16(vtObjectID(objects[index]));
    }
  }

  void addPoints(const iVtPoint_s* points, std::size_t count) {
    for (std::size_t index = 0; index < count; ++index) {
      add16(points[index].x);
      add16(points[index].y);
    }
  }

  void addLanguages(const char* languages, std::size_t count) {
    constexpr std::size_t lettersEach = 2;
    m_pool.insert(m_pool.end(), languages, languages + count * lettersEach);
  }

  std::vector<uint8_t>& m_pool;
  const VtColourClip& m_clip;
};

} // namespace

std::vector<uint8_t> writeVtPool(const iVtObjectPool_c& pool, const VtColourClip& clip) {
  std::vector<uint8_t> bytes;
  PoolWriter_c writer(bytes, clip);
  for (uint16_t index = 0; index < pool.count(); ++index) {
    writer.add(*pool.objects()[index]);
  }
  return bytes;
}

} // namespace IsoBusHost
