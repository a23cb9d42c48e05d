#include "SelectSpecificVT_c.h"

#include <array>
#include <gtest/gtest.h>
#include <random>

using IsoAgLib::iIsoName_c;

namespace {

using Bytes_t = std::array<uint8_t, 8>;

iIsoName_c nameOf(const Bytes_t& bytes) {
  return iIsoName_c(bytes.data());
}

bool selects(const Bytes_t& wanted, int mask, const Bytes_t& candidate) {
  return SelectSpecificVT_c(nameOf(wanted), static_cast<uint8_t>(mask)).selectVtServer(nameOf(candidate));
}

constexpr Bytes_t zeroes = {};
constexpr Bytes_t ones = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
constexpr Bytes_t someName = {0x40, 0xE2, 0xA1, 0x5B, 0x00, 0x1D, 0x32, 0xA0};

// The field of each bit of a NAME, by the bit of the mask; 0 where it is never compared.
uint8_t matchOfBit(int bit) {
  if (bit <= 20) {
    return 0x01;
  }
  if (bit <= 31) {
    return 0x02;
  }
  if (bit <= 34) {
    return 0x10;
  }
  if (bit <= 39) {
    return 0x20;
  }
  if (bit >= 49 && bit <= 55) {
    return 0x08;
  }
  return bit >= 60 && bit <= 62 ? 0x04 : 0x00;
}

// The fields as they are taken from the bytes.
struct Fields_s {
  explicit Fields_s(const Bytes_t& bytes)
      : serialNumber(bytes[0] | bytes[1] << 8 | (bytes[2] & 0x1F) << 16), manufacturer(bytes[2] >> 5 | bytes[3] << 3),
        industryGroup(bytes[7] >> 4 & 0x07), deviceClass(bytes[6] >> 1), ecuInstance(bytes[4] & 0x07),
        functionInstance(bytes[4] >> 3) {}

  int serialNumber;
  int manufacturer;
  int industryGroup;
  int deviceClass;
  int ecuInstance;
  int functionInstance;
};

bool isExpected(const Bytes_t& wanted, int mask, const Bytes_t& candidate) {
  const Fields_s left(wanted);
  const Fields_s right(candidate);
  return ((mask & 0x01) == 0 || left.serialNumber == right.serialNumber) &&
         ((mask & 0x02) == 0 || left.manufacturer == right.manufacturer) &&
         ((mask & 0x04) == 0 || left.industryGroup == right.industryGroup) &&
         ((mask & 0x08) == 0 || left.deviceClass == right.deviceClass) &&
         ((mask & 0x10) == 0 || left.ecuInstance == right.ecuInstance) &&
         ((mask & 0x20) == 0 || left.functionInstance == right.functionInstance);
}

} // namespace

TEST(SelectSpecificVT, TakesEveryVtWithoutAMask) {
  EXPECT_TRUE(selects(zeroes, 0x00, ones));
  EXPECT_TRUE(selects(someName, 0x00, zeroes));
}

TEST(SelectSpecificVT, IgnoresTheTwoHighestBitsOfTheMask) {
  EXPECT_TRUE(selects(zeroes, 0x40, ones));
  EXPECT_TRUE(selects(zeroes, 0x80, ones));
  EXPECT_TRUE(selects(zeroes, 0xC0, ones));
  EXPECT_FALSE(selects(zeroes, 0xC1, ones));
}

TEST(SelectSpecificVT, TakesAnotherSerialNumberWhereOnlyTheManufacturerIsWanted) {
  Bytes_t candidate = someName;
  candidate[0] = 0x41;
  candidate[1] = 0x00;
  candidate[2] = 0xAE; // the upper three bits are the manufacturer's
  EXPECT_TRUE(selects(someName, 0x02, candidate));
  EXPECT_FALSE(selects(someName, 0x01, candidate));
}

TEST(SelectSpecificVT, NeverLooksAtTheFunction) {
  Bytes_t candidate = someName;
  for (int function = 0; function < 256; ++function) {
    candidate[5] = static_cast<uint8_t>(function);
    for (int mask = 0; mask < 256; ++mask) {
      EXPECT_TRUE(selects(someName, mask, candidate)) << function << " " << mask;
    }
  }
}

TEST(SelectSpecificVT, ComparesEachBitOfTheNameInItsField) {
  for (const Bytes_t& wanted : {zeroes, ones, someName}) {
    for (int bit = 0; bit < 64; ++bit) {
      Bytes_t candidate = wanted;
      uint8_t& byte = candidate[static_cast<std::size_t>(bit / 8)];
      byte = static_cast<uint8_t>(byte ^ 1 << bit % 8);
      for (int mask = 0; mask < 256; ++mask) {
        EXPECT_EQ((mask & matchOfBit(bit)) == 0, selects(wanted, mask, candidate)) << bit << " " << mask;
      }
    }
  }
}

TEST(SelectSpecificVT, ComparesFieldByField) {
  std::mt19937 random(4711);
  for (int round = 0; round < 400; ++round) {
    Bytes_t wanted = {};
    Bytes_t candidate = {};
    for (std::size_t index = 0; index < wanted.size(); ++index) {
      wanted[index] = static_cast<uint8_t>(random());
      // Half of the bytes are the same.
      candidate[index] = random() % 2 == 0 ? wanted[index] : static_cast<uint8_t>(random());
    }
    for (int mask = 0; mask < 256; ++mask) {
      EXPECT_EQ(isExpected(wanted, mask, candidate), selects(wanted, mask, candidate)) << round << " " << mask;
    }
  }
}

TEST(SelectSpecificVT, NamesTheFieldsOfItsMask) {
  EXPECT_EQ(0x01, SelectSpecificVT_c::matchSerialNumber);
  EXPECT_EQ(0x02, SelectSpecificVT_c::matchManufacturer);
  EXPECT_EQ(0x04, SelectSpecificVT_c::matchIndustryGroup);
  EXPECT_EQ(0x08, SelectSpecificVT_c::matchDeviceClass);
  EXPECT_EQ(0x10, SelectSpecificVT_c::matchEcuInstance);
  EXPECT_EQ(0x20, SelectSpecificVT_c::matchFunctionInstance);
  EXPECT_EQ(0x3F, SelectSpecificVT_c::matchAll);
}

TEST(SelectSpecificVT, TakesANameWithoutBytesForOneOfZeroes) {
  const iIsoName_c none;
  for (int mask = 0; mask < 256; ++mask) {
    const auto bits = static_cast<uint8_t>(mask);
    EXPECT_TRUE(SelectSpecificVT_c(none, bits).selectVtServer(none));
    EXPECT_TRUE(SelectSpecificVT_c(none, bits).selectVtServer(nameOf(zeroes)));
    EXPECT_TRUE(SelectSpecificVT_c(nameOf(zeroes), bits).selectVtServer(none));
    EXPECT_EQ((mask & 0x3F) == 0, SelectSpecificVT_c(none, bits).selectVtServer(nameOf(ones)));
    EXPECT_EQ((mask & 0x3F) == 0, SelectSpecificVT_c(nameOf(ones), bits).selectVtServer(none));
  }
}

TEST(SelectSpecificVT, KeepsACopyOfTheWantedName) {
  iIsoName_c name = nameOf(someName);
  const SelectSpecificVT_c selection(name, 0x3F);
  name = nameOf(zeroes);
  EXPECT_TRUE(selection.selectVtServer(nameOf(someName)));
  EXPECT_FALSE(selection.selectVtServer(nameOf(zeroes)));
}
