#include "FileUtil.h"

#include "LibraryCalls.h"
#include "ObjectMemory.h"

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

using namespace TestSupport;

namespace {

// An object in memory of which no byte is 0.
class InFullMemory_c {
public:
  InFullMemory_c() {
    std::memset(m_memory, 0xFF, sizeof m_memory);
    m_object = new (m_memory) FileOperations_c;
  }
  ~InFullMemory_c() { m_object->~FileOperations_c(); }
  InFullMemory_c(const InFullMemory_c&) = delete;
  InFullMemory_c& operator=(const InFullMemory_c&) = delete;

  FileOperations_c& object() { return *m_object; }

private:
  alignas(FileOperations_c) unsigned char m_memory[sizeof(FileOperations_c)];
  FileOperations_c* m_object;
};

} // namespace

// The sizes of text and list are those of the C++ library.
TEST(FileOperations, HasItsFieldsInOrder) {
  static_assert(std::is_standard_layout<FileOperations_c>::value, "a plain class");
  EXPECT_EQ(0U, offsetof(FileOperations_c, m_Directory));
  EXPECT_EQ(in64And32(32, 24), offsetof(FileOperations_c, m_ApplicationText));
  EXPECT_EQ(in64And32(64, 48), offsetof(FileOperations_c, m_FileNames));
  EXPECT_EQ(in64And32(88, 60), offsetof(FileOperations_c, m_ApplicationNumber));
  EXPECT_EQ(in64And32(96, 64), offsetof(FileOperations_c, m_TotalSize));
  EXPECT_EQ(in64And32(104, 72), offsetof(FileOperations_c, m_bApplicationFlag1));
  EXPECT_EQ(in64And32(105, 73), offsetof(FileOperations_c, m_bApplicationFlag2));
  EXPECT_EQ(in64And32(106, 74), offsetof(FileOperations_c, m_bApplicationFlag3));
  EXPECT_EQ(in64And32(112, 76), sizeof(FileOperations_c));
}

TEST(FileOperations, HasTheWidthsOfItsFields) {
  static_assert(std::is_same<decltype(FileOperations_c::m_Directory), std::string>::value, "text");
  static_assert(std::is_same<decltype(FileOperations_c::m_ApplicationText), std::string>::value, "text");
  static_assert(std::is_same<decltype(FileOperations_c::m_FileNames), std::vector<std::string>>::value, "texts");
  static_assert(std::is_same<decltype(FileOperations_c::m_ApplicationNumber), int32_t>::value, "32 bits");
  static_assert(std::is_same<decltype(FileOperations_c::m_TotalSize), int64_t>::value, "64 bits with a sign");
  static_assert(std::is_same<decltype(FileOperations_c::m_bApplicationFlag1), bool>::value, "flag");
  static_assert(!std::is_polymorphic<FileOperations_c>::value, "no virtual operation");
}

TEST(FileOperations, IsEmptyAtFirst) {
  InFullMemory_c memory;
  const FileOperations_c& operations = memory.object();
  EXPECT_EQ("", operations.m_Directory);
  EXPECT_EQ("", operations.m_ApplicationText);
  EXPECT_TRUE(operations.m_FileNames.empty());
}

TEST(FileOperations, HasEveryNumberAndFlagAt0AtFirst) {
  InFullMemory_c memory;
  FileOperations_c& operations = memory.object();
  EXPECT_EQ(0, operations.m_ApplicationNumber);
  EXPECT_EQ(0, operations.m_TotalSize);
  EXPECT_EQ(0, field<unsigned char>(&operations, offsetof(FileOperations_c, m_bApplicationFlag1)));
  EXPECT_EQ(0, field<unsigned char>(&operations, offsetof(FileOperations_c, m_bApplicationFlag2)));
  EXPECT_EQ(0, field<unsigned char>(&operations, offsetof(FileOperations_c, m_bApplicationFlag3)));
}

TEST(FileOperations, TakesNothingFromTheHeapWhileItIsEmpty) {
  const HeapUse_c heap;
  alignas(FileOperations_c) unsigned char memory[sizeof(FileOperations_c)];
  auto* operations = new (memory) FileOperations_c;
  const std::size_t taken = heap.taken();
  operations->~FileOperations_c();
  EXPECT_EQ(0U, taken);
  EXPECT_EQ(0U, heap.givenBack());
}

TEST(FileOperations, GivesTextsAndListBackAtItsEnd) {
  const std::string text(100, 'x');
  alignas(FileOperations_c) unsigned char memory[sizeof(FileOperations_c)];
  auto* operations = new (memory) FileOperations_c;
  operations->m_Directory = text;
  operations->m_ApplicationText = text;
  operations->m_FileNames.assign(7, text);
  const HeapUse_c heap;
  operations->~FileOperations_c();
  // Two texts, the list and its seven names.
  EXPECT_EQ(10U, heap.givenBack());
}
