// Reading and checking of pools, hostile ones above all.
#include "BusText.h"
#include "TerminalPool.h"
#include "terminal/ObjectPool.h"

#include <gtest/gtest.h>

#include <cstdio>

using namespace TerminalPool;

namespace {

class TerminalObjectPool : public testing::Test {
protected:
  ObjectPool_c::Error read(const Bytes& bytes) { return pool.read(bytes.data(), bytes.size()); }
  ObjectPool_c::Error read(const std::string& text) { return read(BusText::bytesOf(text)); }

  // The error as text: reason, parent, object.
  static std::string textOf(const ObjectPool_c::Error& error) {
    if (!error) {
      return "none";
    }
    char text[64];
    std::snprintf(text, sizeof text, "%d %04X %04X", int{error->reason}, static_cast<unsigned int>(error->parent),
                  static_cast<unsigned int>(error->object));
    return text;
  }

  // afterSmallest: what the check says of the smallest pool with these records behind it.
  std::string afterSmallest(const std::string& records, int version = 4) {
    pool = ObjectPool_c(version);
    EXPECT_FALSE(read(smallest()));
    const auto error = read(records);
    return textOf(error ? error : pool.check());
  }

  ObjectPool_c pool{4};
};

TEST_F(TerminalObjectPool, TakesEveryType) {
  EXPECT_EQ(textOf(read(sample())), "none");
  EXPECT_EQ(textOf(pool.check()), "none");
  EXPECT_EQ(pool.objects().size(), 32U);
  for (unsigned int type = 0; type <= 28; ++type) {
    EXPECT_TRUE(std::any_of(pool.objects().begin(), pool.objects().end(), [type](const auto& entry) {
      return static_cast<unsigned int>(entry.second.type()) == type;
    })) << type;
  }
}

TEST_F(TerminalObjectPool, KeepsFieldsAndLists) {
  read(sample());
  const TerminalObject_s& mask = *pool.find(0x65);
  ASSERT_EQ(mask.children.size(), 4U);
  EXPECT_EQ(mask.children[1].id, 0x6F);
  EXPECT_EQ(mask.children[1].x, 10);
  EXPECT_EQ(mask.children[1].y, 20);
  ASSERT_EQ(mask.macros.size(), 1U);
  EXPECT_EQ(mask.macros[0].event, 1);
  EXPECT_EQ(mask.macros[0].macro, 5);
  EXPECT_EQ(pool.find(0x64)->languages, std::vector<uint16_t>({0x6E65}));
  EXPECT_EQ(pool.find(0x6C)->items, std::vector<uint16_t>({0x6F, noObject}));
  EXPECT_EQ(hex(pool.find(0x6F)->text), "48 65 6C 6C 6F");
  EXPECT_EQ(hex(pool.find(0x79)->data), "01 02 03 04");
  EXPECT_EQ(hex(pool.find(0x7F)->text), "41 42 43 20");
  EXPECT_EQ(pool.find(0x75)->points[1].x, 10);
}

TEST_F(TerminalObjectPool, RefusesARecordThatIsCutOffAtAnyByte) {
  const Bytes whole = sample();
  for (std::size_t size = 1; size < whole.size(); ++size) {
    ObjectPool_c cut(4);
    const Bytes bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const auto error = cut.read(bytes.data(), bytes.size());
    if (error) {
      EXPECT_EQ(error->reason, PoolError_s::other);
      EXPECT_EQ(error->text, "a record ends too early") << size;
    } else {
      EXPECT_LT(cut.objects().size(), 32U) << size; // cut between two records
    }
  }
}

TEST_F(TerminalObjectPool, RefusesCountsBeyondTheEndWithoutMakingRoomForThem) {
  EXPECT_EQ(textOf(read("79 00 14 02 00 02 00 02 00 02 00 00 FF FF FF FF 00 01 02")), "4 FFFF 0079");
  EXPECT_EQ(textOf(read("05 00 1C FF FF A7")), "4 FFFF 0005");
  EXPECT_EQ(textOf(read("7B 00 16 FF FF 41")), "4 FFFF 007B");
  EXPECT_EQ(textOf(read("83 00 28 FF FF 64")), "4 FFFF 0083");
  EXPECT_EQ(textOf(read("65 00 01 00 FF FF FF FF 01 00 00 00 00 00")), "4 FFFF 0065");
  EXPECT_EQ(textOf(read("26 00 26 00 FF 00 FF 00 00")), "4 FFFF 0026");
  EXPECT_TRUE(pool.objects().empty());
}

TEST_F(TerminalObjectPool, OverlooksTheFillOfAFrameBehindARecord) {
  EXPECT_EQ(textOf(read("80 00 1B FF FF FF FF")), "none");
  EXPECT_EQ(pool.objects().size(), 1U);
  EXPECT_EQ(textOf(read("80 00 1B FF FF FF FF FF")), "4 FFFF FFFF");
  EXPECT_EQ(textOf(read("80 00 1B FF FF 00 FF")), "4 FFFF FFFF");
}

TEST_F(TerminalObjectPool, RefusesAnUnknownTypeAndOneOfALaterVersion) {
  EXPECT_EQ(textOf(read("09 00 29 00 00 00 00")), "4 FFFF 0009");
  EXPECT_EQ(textOf(read("09 00 F0 00 00 00 00")), "4 FFFF 0009");
  EXPECT_EQ(textOf(read("09 00 FF 00 00 00 00")), "4 FFFF 0009");
  const std::string outputList = "74 00 25 50 00 14 00 FF FF 00 00 00";
  EXPECT_EQ(afterSmallest(outputList), "none");
  EXPECT_EQ(afterSmallest(outputList, 3), "4 FFFF 0074");
  const std::string auxiliary = "20 00 20 00 00 00";
  EXPECT_EQ(afterSmallest(auxiliary, 3), "none");
  EXPECT_EQ(afterSmallest(auxiliary, 2), "4 FFFF 0020");
}

TEST_F(TerminalObjectPool, KeepsWhatItDoesNotUse) {
  EXPECT_EQ(afterSmallest("20 00 1D 00 00 00 "
                          "21 00 1E 00 00 00 00 "
                          "22 00 1F 00 00 00 "
                          "23 00 20 00 00 00 "
                          "24 00 21 00 FF FF "
                          "25 00 22 01 01 00 00 00 FF FF FF FF FF FF 01 01 00 FF FF 25 00 00 00 00 00 "
                          "26 00 23 00 FF FF FF FF 00 00 "
                          "27 00 24 01 00 01 00 00 00 00 00 01 00 01 00 00 00 80 3F 00 00 00 00 00 00 FF FF FF FF FF "
                          "FF 00 00 00 "
                          "28 00 26 00 02 00 01 41 00 5A 00 01 00 "
                          "29 00 27 03 00 01 02 03 "
                          "2A 00 28 01 00 01 00 FF FF 00 FF FF"),
            "4 0025 0025"); // a window mask that contains itself, and nothing else
  EXPECT_EQ(pool.objects().size(), 13U);
}

TEST_F(TerminalObjectPool, RefusesTheIdOfNoObject) {
  EXPECT_EQ(textOf(read("FF FF 15 00 00 00 00")), "4 FFFF FFFF");
}

TEST_F(TerminalObjectPool, ReplacesAnObjectByOneOfTheSameType) {
  read("7A 00 15 07 00 00 00 7A 00 15 08 00 00 00");
  EXPECT_EQ(pool.objects().size(), 1U);
  EXPECT_EQ(pool.find(0x7A)->value(Attribute_e::value), 8U);
  EXPECT_EQ(textOf(read("7A 00 16 00 00")), "4 FFFF 007A");
  EXPECT_EQ(pool.find(0x7A)->type(), ObjectType_e::numberVariable);
}

TEST_F(TerminalObjectPool, WantsExactlyOneWorkingSet) {
  EXPECT_EQ(textOf(pool.check()), "4 FFFF FFFF");
  EXPECT_EQ(afterSmallest("03 00 00 00 01 02 00 00 00 00"), "4 FFFF FFFF");
}

TEST_F(TerminalObjectPool, WantsAnActiveMaskThatIsAMask) {
  EXPECT_EQ(afterSmallest("01 00 00 00 01 FF FF 00 00 00"), "2 0001 FFFF");
  EXPECT_EQ(afterSmallest("01 00 00 00 01 03 00 00 00 00"), "2 0001 0003");
  EXPECT_EQ(afterSmallest("01 00 00 00 01 01 00 00 00 00"), "4 0001 0001");
}

TEST_F(TerminalObjectPool, NamesTheParentAndTheObjectOfADanglingReference) {
  EXPECT_EQ(afterSmallest("02 00 01 00 07 00 00 00"), "2 0002 0007");
  EXPECT_EQ(afterSmallest("02 00 01 00 FF FF 01 00 07 00 00 00 00 00"), "2 0002 0007");
  EXPECT_EQ(afterSmallest("02 00 01 00 FF FF 01 00 FF FF 00 00 00 00"), "2 0002 FFFF");
  EXPECT_EQ(afterSmallest("02 00 01 00 FF FF 00 01 01 07"), "2 0002 0007");
  EXPECT_EQ(afterSmallest("09 00 04 00 01 00 07 00"), "2 0009 0007");
  EXPECT_EQ(afterSmallest("09 00 0A 00 00 00 00 FF FF 00 01 00 00 07 00"), "2 0009 0007");
  EXPECT_EQ(afterSmallest("09 00 1B 07 00"), "2 0009 0007");
}

TEST_F(TerminalObjectPool, RefusesWhatIsOfTheWrongType) {
  EXPECT_EQ(afterSmallest("02 00 01 00 01 00 00 00"), "4 0002 0001");                        // as soft key mask
  EXPECT_EQ(afterSmallest("09 00 15 00 00 00 00 02 00 01 00 FF FF 01 00 09 00 00 00 00 00"), // a variable drawn
            "4 0002 0009");
  EXPECT_EQ(afterSmallest("09 00 05 00 00 00 00 02 00 01 00 FF FF 01 00 09 00 00 00 00 00"), // a key on a mask
            "4 0002 0009");
  EXPECT_EQ(afterSmallest("09 00 04 00 01 00 02 00"), "4 0009 0002"); // a mask as soft key
  EXPECT_EQ(afterSmallest("09 00 1B 02 00"), "4 0009 0002");
  EXPECT_EQ(afterSmallest("02 00 01 00 FF FF 00 01 01 01"), "4 0002 0001"); // no macro
}

TEST_F(TerminalObjectPool, RefusesAMacroOfALaterVersion) {
  EXPECT_EQ(afterSmallest("05 00 1C 00 00 02 00 01 00 FF FF 00 02 FF 05 FF 00"), "4 0002 0005");
}

TEST_F(TerminalObjectPool, LetsListsHaveEmptyPlaces) {
  EXPECT_EQ(afterSmallest("09 00 0A 00 00 00 00 FF FF 00 01 00 00 FF FF"), "none");
}

TEST_F(TerminalObjectPool, FindsAnObjectThatContainsItself) {
  const std::string container = " 00 03 00 00 00 00 00 01 00 ";
  EXPECT_EQ(afterSmallest("09" + container + "09 00 00 00 00 00"), "4 0009 0009");
  EXPECT_EQ(afterSmallest("09" + container + "0A 00 00 00 00 00 0A" + container + "09 00 00 00 00 00"), "4 000A 0009");
  EXPECT_EQ(afterSmallest("09" + container + "0A 00 00 00 00 00 0A 00 1B 09 00"), "4 000A 0009");
}

TEST_F(TerminalObjectPool, TakesAnObjectThatIsDrawnTwice) {
  EXPECT_EQ(afterSmallest("02 00 01 00 FF FF 02 00 09 00 00 00 00 00 09 00 05 00 05 00 "
                          "09 00 03 00 00 00 00 00 00 00"),
            "none");
}

TEST_F(TerminalObjectPool, ChecksADeepChainAndEveryWayThroughAWideOne) {
  // 20,000 containers, each in the one before and twice so: 2 to the 20,000 ways.
  Bytes bytes = smallest();
  constexpr unsigned int count = 20000;
  for (unsigned int index = 0; index < count; ++index) {
    const auto id = static_cast<uint16_t>(100 + index);
    const auto next = static_cast<uint16_t>(id + 1);
    const bool isLast = index + 1 == count;
    const Bytes record = {static_cast<uint8_t>(id),
                          static_cast<uint8_t>(id >> 8U),
                          3,
                          0,
                          0,
                          0,
                          0,
                          0,
                          static_cast<uint8_t>(isLast ? 0 : 2),
                          0};
    bytes.insert(bytes.end(), record.begin(), record.end());
    for (int child = 0; child < (isLast ? 0 : 2); ++child) {
      const Bytes entry = {static_cast<uint8_t>(next), static_cast<uint8_t>(next >> 8U), 0, 0, 0, 0};
      bytes.insert(bytes.end(), entry.begin(), entry.end());
    }
  }
  EXPECT_EQ(textOf(read(bytes)), "none");
  EXPECT_EQ(textOf(pool.check()), "none");
  EXPECT_TRUE(pool.reaches(100, 100 + count - 1));
  EXPECT_FALSE(pool.reaches(101, 100));
}

} // namespace
