// Every attribute of every type through its attribute id: read, and changed where it may be.
#include "TerminalModelFixture.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <set>

using namespace TerminalPool;

namespace {

constexpr uint64_t readOnly = UINT64_MAX;

struct AttributeRow_s {
  uint16_t object;
  uint8_t aid;
  uint32_t initial;
  uint64_t changed;
};

void PrintTo(const AttributeRow_s& row, std::ostream* out) {
  *out << "object " << std::hex << row.object << std::dec << " attribute " << int{row.aid};
}

class TerminalAttribute : public TerminalModelFixture, public testing::WithParamInterface<AttributeRow_s> {
protected:
  static std::string word(uint32_t value, int bytes) {
    std::string text;
    for (int index = 0; index < bytes; ++index) {
      char digits[4];
      std::snprintf(digits, sizeof digits, " %02X", (value >> (8 * index)) & 0xFFU);
      text += digits;
    }
    return text;
  }
  static std::string head(const AttributeRow_s& row) { return word(row.object, 2) + word(row.aid, 1); }

  // The answer as a whole: a value may end in FF.
  std::string read(const AttributeRow_s& row) { return hex(model.command(framed("B9" + head(row)))); }
};

TEST_P(TerminalAttribute, IsReadByItsIdAndChangedUnlessItIsReadOnly) {
  const AttributeRow_s& row = GetParam();
  EXPECT_EQ(read(row), "B9" + head(row) + word(row.initial, 4));
  const auto newValue = static_cast<uint32_t>(row.changed);
  const std::string answer = ask("AF" + head(row) + word(newValue, 4));
  if (row.changed == readOnly) {
    EXPECT_EQ(answer, "AF" + head(row) + " 02");
    EXPECT_EQ(read(row), "B9" + head(row) + word(row.initial, 4));
    return;
  }
  EXPECT_EQ(answer, "AF" + head(row) + " 00");
  EXPECT_EQ(read(row), "B9" + head(row) + word(newValue, 4));
}

constexpr uint32_t one = 0x3F800000; // 1.0
constexpr uint32_t half = 0x3F000000;

const AttributeRow_s rows[] = {
    {0x64, 0, 0, readOnly},    {0x64, 1, 0, readOnly},   {0x64, 2, 1, readOnly},   {0x64, 3, 0x65, readOnly},
    {0x65, 0, 1, readOnly},    {0x65, 1, 1, 5},          {0x65, 2, 0x67, 0xFFFF},  {0x66, 0, 2, readOnly},
    {0x66, 1, 12, 5},          {0x66, 2, 0xFFFF, 0x67},  {0x66, 3, 1, 2},          {0x66, 4, 0, 3},
    {0x68, 0, 3, readOnly},    {0x68, 1, 200, readOnly}, {0x68, 2, 200, readOnly}, {0x68, 3, 0, readOnly},
    {0x67, 0, 4, readOnly},    {0x67, 1, 12, 5},         {0x69, 0, 5, readOnly},   {0x69, 1, 12, 5},
    {0x69, 2, 7, 8},           {0x6A, 0, 6, readOnly},   {0x6A, 1, 80, 81},        {0x6A, 2, 30, 31},
    {0x6A, 3, 7, 8},           {0x6A, 4, 0, 8},          {0x6A, 5, 9, 10},         {0x6A, 6, 1, 3},
    {0x6B, 0, 7, readOnly},    {0x6B, 1, 7, 8},          {0x6B, 2, 10, 11},        {0x6B, 3, 0x7C, 0xFFFF},
    {0x6B, 4, 0xFFFF, 0x7A},   {0x6B, 5, 0, readOnly},   {0x6B, 6, 1, readOnly},   {0x6E, 0, 8, readOnly},
    {0x6E, 1, 80, 81},         {0x6E, 2, 20, 21},        {0x6E, 3, 7, 8},          {0x6E, 4, 0x7C, 0xFFFF},
    {0x6E, 5, 0x7F, 0xFFFF},   {0x6E, 6, 0, 1},          {0x6E, 7, 0x7B, 0xFFFF},  {0x6E, 8, 0, 10},
    {0x6E, 9, 1, readOnly},    {0x6D, 0, 9, readOnly},   {0x6D, 1, 80, 81},        {0x6D, 2, 20, 21},
    {0x6D, 3, 7, 8},           {0x6D, 4, 0x7C, 0xFFFF},  {0x6D, 5, 0, 1},          {0x6D, 6, 0xFFFF, 0x7A},
    {0x6D, 7, 0, 0xFFFFFFFE},  {0x6D, 8, 1000, 2000},    {0x6D, 9, 0, 0xFFFFFFFF}, {0x6D, 10, one, half},
    {0x6D, 11, 0, 7},          {0x6D, 12, 0, 1},         {0x6D, 13, 0, 2},         {0x6D, 14, 5, readOnly},
    {0x6D, 15, 1, readOnly},   {0x6C, 0, 10, readOnly},  {0x6C, 1, 80, 81},        {0x6C, 2, 20, 21},
    {0x6C, 3, 0xFFFF, 0x7A},   {0x6C, 4, 0, readOnly},   {0x6C, 5, 1, readOnly},   {0x6F, 0, 11, readOnly},
    {0x6F, 1, 80, 81},         {0x6F, 2, 20, 21},        {0x6F, 3, 7, 8},          {0x6F, 4, 0x7C, 0xFFFF},
    {0x6F, 5, 0, 1},           {0x6F, 6, 0xFFFF, 0x7B},  {0x6F, 7, 0, 5},          {0x70, 0, 12, readOnly},
    {0x70, 1, 80, 81},         {0x70, 2, 20, 21},        {0x70, 3, 7, 8},          {0x70, 4, 0x7C, 0xFFFF},
    {0x70, 5, 0, 2},           {0x70, 6, 0x7A, 0xFFFF},  {0x70, 7, 0, 0xFFFFFFFB}, {0x70, 8, one, half},
    {0x70, 9, 1, 7},           {0x70, 10, 0, 1},         {0x70, 11, 0, 1},         {0x70, 12, 3, readOnly},
    {0x71, 0, 13, readOnly},   {0x71, 1, 0x7D, 0xFFFF},  {0x71, 2, 10, 11},        {0x71, 3, 10, 12},
    {0x71, 4, 0, 1},           {0x72, 0, 14, readOnly},  {0x72, 1, 0x7D, 0xFFFF},  {0x72, 2, 10, 11},
    {0x72, 3, 10, 12},         {0x72, 4, 0, 15},         {0x72, 5, 0x7E, 0xFFFF},  {0x73, 0, 15, readOnly},
    {0x73, 1, 0x7D, 0xFFFF},   {0x73, 2, 10, 11},        {0x73, 3, 10, 12},        {0x73, 4, 0, 3},
    {0x73, 5, 0, 180},         {0x73, 6, 180, 0},        {0x73, 7, 0xFFFF, 0x7E},  {0x75, 0, 16, readOnly},
    {0x75, 1, 20, 21},         {0x75, 2, 20, 22},        {0x75, 3, 0x7D, 0xFFFF},  {0x75, 4, 0x7E, 0xFFFF},
    {0x75, 5, 0, 3},           {0x76, 0, 17, readOnly},  {0x76, 1, 80, 81},        {0x76, 2, 1, 4},
    {0x76, 3, 2, 5},           {0x76, 4, 3, 6},          {0x76, 5, 15, 7},         {0x76, 6, 5, 6},
    {0x76, 7, 0, 10},          {0x76, 8, 180, 90},       {0x76, 9, 0, 5},          {0x76, 10, 100, 65535},
    {0x76, 11, 0xFFFF, 0x7A},  {0x76, 12, 10, readOnly}, {0x77, 0, 18, readOnly},  {0x77, 1, 80, 81},
    {0x77, 2, 20, 21},         {0x77, 3, 1, 4},          {0x77, 4, 2, 5},          {0x77, 5, 15, 7},
    {0x77, 6, 5, 6},           {0x77, 7, 0, 5},          {0x77, 8, 100, 200},      {0x77, 9, 0xFFFF, 0x7A},
    {0x77, 10, 0xFFFF, 0x7A},  {0x77, 11, 20, 30},       {0x77, 12, 10, readOnly}, {0x78, 0, 19, readOnly},
    {0x78, 1, 80, 81},         {0x78, 2, 80, 82},        {0x78, 3, 1, 4},          {0x78, 4, 2, 5},
    {0x78, 5, 15, 7},          {0x78, 6, 0, 10},         {0x78, 7, 180, 90},       {0x78, 8, 10, 11},
    {0x78, 9, 0, 5},           {0x78, 10, 100, 200},     {0x78, 11, 0xFFFF, 0x7A}, {0x78, 12, 0xFFFF, 0x7A},
    {0x78, 13, 20, 30},        {0x78, 14, 10, readOnly}, {0x79, 0, 20, readOnly},  {0x79, 1, 2, 4},
    {0x79, 2, 0, 1},           {0x79, 3, 0, 7},          {0x79, 4, 2, readOnly},   {0x79, 5, 2, readOnly},
    {0x79, 6, 2, readOnly},    {0x7A, 0, 21, readOnly},  {0x7A, 1, 7, readOnly},   {0x7B, 0, 22, readOnly},
    {0x7C, 0, 23, readOnly},   {0x7C, 1, 0, 5},          {0x7C, 2, 3, 14},         {0x7C, 3, 0, 7},
    {0x7C, 4, 0, 31},          {0x7D, 0, 24, readOnly},  {0x7D, 1, 0, 5},          {0x7D, 2, 1, 3},
    {0x7D, 3, 0xFFFF, 0x5555}, {0x7E, 0, 25, readOnly},  {0x7E, 1, 2, 3},          {0x7E, 2, 3, 5},
    {0x7E, 3, 0xFFFF, 0x79},   {0x7F, 0, 26, readOnly},  {0x7F, 1, 0, readOnly},   {0x80, 0, 27, readOnly},
    {0x80, 1, 0x6F, readOnly}, {0x05, 0, 28, readOnly},  {0x74, 0, 37, readOnly},  {0x74, 1, 80, 81},
    {0x74, 2, 20, 21},         {0x74, 3, 0xFFFF, 0x7A},  {0x74, 4, 0, readOnly},
};
INSTANTIATE_TEST_SUITE_P(Types, TerminalAttribute, testing::ValuesIn(rows));

class TerminalAttributeTable : public TerminalModelFixture {};

TEST_F(TerminalAttributeTable, HasNoAttributesBesides) {
  const std::set<uint16_t> others = {0x82, 0x83}; // a second data mask, and the label list
  for (const auto& [id, object] : model.pool().objects()) {
    for (int aid = 1; aid < 256 && others.count(id) == 0; ++aid) {
      const bool isListed = std::any_of(std::begin(rows), std::end(rows), [id = id, aid](const AttributeRow_s& row) {
        return row.object == id && row.aid == aid;
      });
      EXPECT_EQ(object.fieldOfAid(static_cast<uint8_t>(aid)) != nullptr, isListed) << "object " << id << ", " << aid;
    }
  }
}

} // namespace
