#include "LibraryCalls.h"
#include "VtScreen.h"

#include <cmath>
#include <limits>

using namespace TestSupport;
using namespace IsoAgLib;

class VtScale : public VtScreenFixture {
protected:
  template <class Number_c>
  std::string callsOfScale(Number_c& number, float scale) {
    return callsOf([&] { SetVtScale(number, scale, false); });
  }

  static constexpr float nan = std::numeric_limits<float>::quiet_NaN();
};

TEST_F(VtScale, IsSentEachTimeWhereItIsNotANumber) {
  for (int call = 0; call < 3; ++call) {
    EXPECT_NE("", callsOfScale(m_screen.outputNumber, nan));
    EXPECT_TRUE(std::isnan(m_screen.records.outputNumber.scale));
    EXPECT_NE("", callsOfScale(m_screen.inputNumber, nan));
    EXPECT_TRUE(std::isnan(m_screen.records.inputNumber.scale));
  }
}

TEST_F(VtScale, IsSentWhereTheObjectHoldsNoNumber) {
  m_screen.records.outputNumber.scale = nan;
  m_screen.records.inputNumber.scale = nan;
  EXPECT_NE("", callsOfScale(m_screen.outputNumber, 1.0F));
  EXPECT_NE("", callsOfScale(m_screen.inputNumber, 1.0F));
  EXPECT_EQ("", callsOfScale(m_screen.outputNumber, 1.0F));
  EXPECT_EQ("", callsOfScale(m_screen.inputNumber, 1.0F));
}

TEST_F(VtScale, OfMinusZeroEqualsZero) {
  for (const float held : {0.0F, -0.0F}) {
    m_screen.records.outputNumber.scale = held;
    m_screen.records.inputNumber.scale = held;
    EXPECT_EQ("", callsOfScale(m_screen.outputNumber, -held));
    EXPECT_EQ("", callsOfScale(m_screen.inputNumber, -held));
    EXPECT_EQ(std::signbit(held), std::signbit(m_screen.records.outputNumber.scale));
  }
}

// The next number of 32 bits is another scale, and one that no such number tells apart is the same.
TEST_F(VtScale, IsComparedAsANumberOf32Bits) {
  const float scale = 0.1F;
  const float next = std::nextafter(scale, 1.0F);
  SetVtScale(m_screen.outputNumber, scale, true);
  SetVtScale(m_screen.inputNumber, scale, true);
  EXPECT_EQ("", callsOfScale(m_screen.outputNumber, static_cast<float>(0.1)));
  EXPECT_EQ("", callsOfScale(m_screen.inputNumber, static_cast<float>(0.1)));
  EXPECT_NE("", callsOfScale(m_screen.outputNumber, next));
  EXPECT_NE("", callsOfScale(m_screen.inputNumber, next));
}

namespace {

// What the connection was asked.
struct Asked_s {
  int clients = 0;
  unsigned char instance = 0;
  uint8_t clientID = 0;
  int colours = 0;
  __IsoAgLib::VtClientConnection_c* connection = nullptr;
  uint8_t colour = 0;
  iVtObject_c* object = nullptr;
  int kind = -1;
};
Asked_s asked;

__IsoAgLib::VtClient_c& clientOf(unsigned char instance) {
  ++asked.clients;
  asked.instance = instance;
  static __IsoAgLib::VtClient_c client(0);
  return client;
}

__IsoAgLib::VtClientConnection_c& theConnection() {
  static __IsoAgLib::VtClientConnection_c connection;
  return connection;
}

__IsoAgLib::VtClientConnection_c& connectionOf(__IsoAgLib::VtClient_c* client, uint8_t clientID) {
  EXPECT_EQ(&clientOf(asked.instance), client);
  asked.clientID = clientID;
  return theConnection();
}

// A VT that shows 200 - colour.
uint8_t clippedColour(__IsoAgLib::VtClientConnection_c* connection, uint8_t colour, iVtObject_c* object,
                      e_vtColour kind) {
  ++asked.colours;
  asked.connection = connection;
  asked.colour = colour;
  asked.object = object;
  asked.kind = kind;
  return static_cast<uint8_t>(200 - colour);
}

} // namespace

class VtColour : public VtScreenFixture {
protected:
  void SetUp() override {
    VtScreenFixture::SetUp();
    asked = Asked_s();
  }

  static void expectAsked(unsigned char instance, uint8_t clientID, uint8_t colour, iVtObject_c* object, int kind) {
    EXPECT_EQ(instance, asked.instance);
    EXPECT_EQ(clientID, asked.clientID);
    EXPECT_EQ(&theConnection(), asked.connection);
    EXPECT_EQ(colour, asked.colour);
    EXPECT_EQ(object, asked.object);
    EXPECT_EQ(kind, asked.kind);
    EXPECT_EQ(1, asked.colours);
    asked = Asked_s();
  }

  static std::string call(const char* object, std::size_t position, std::size_t size, const char* rest) {
    return std::string("vt ") + object + ": saveValue8SetAttribute(" + std::to_string(position) + ", " +
           std::to_string(size) + ", " + rest + ")\n";
  }

private:
  LibraryCall_c m_client{"_ZN10__IsoAgLib19getVtClientInstanceEh", &clientOf};
  LibraryCall_c m_connection{"_ZN10__IsoAgLib10VtClient_c13getClientByIDEh", &connectionOf};
  LibraryCall_c m_colour{
      "_ZN10__IsoAgLib20VtClientConnection_c19getUserClippedColorEhPN8IsoAgLib11iVtObject_cENS1_10e_vtColourE",
      &clippedColour};
};

TEST_F(VtColour, OfABarGraphIsStoredAsWantedAndSentAsTheVtCanShowIt) {
  m_screen.barGraph.attach(1, 5);
  EXPECT_EQ(
      call("2700", offsetof(iVtObjectLinearBarGraph_s, colour), sizeof(iVtObjectLinearBarGraph_s), "3, 12, 188, false"),
      callsOf([&] { SetVtObjectColour(m_screen.barGraph, 12, false); }));
  expectAsked(1, 5, 12, &m_screen.barGraph, 4);
  EXPECT_EQ(12, m_screen.records.barGraph.colour);
}

TEST_F(VtColour, OfAKeyIsStoredAsWantedAndSentAsTheVtCanShowIt) {
  m_screen.key.attach(0, 254);
  EXPECT_EQ(call("1500", offsetof(iVtObjectKey_s, backgroundColour), sizeof(iVtObjectKey_s), "1, 45, 155, false"),
            callsOf([&] { SetVtBackColor(m_screen.key, 45, false); }));
  expectAsked(0, 254, 45, &m_screen.key, 0);
  EXPECT_EQ(45, m_screen.records.key.backgroundColour);
}

TEST_F(VtColour, ThatIsAskedForAgainIsSkippedAlthoughTheVtShowsAnother) {
  SetVtObjectColour(m_screen.barGraph, 12, false);
  SetVtBackColor(m_screen.key, 45, false);
  asked = Asked_s();
  EXPECT_EQ("", callsOf([&] {
              SetVtObjectColour(m_screen.barGraph, 12, false);
              SetVtBackColor(m_screen.key, 45, false);
            }));
  // The VT is not asked either.
  EXPECT_EQ(0, asked.colours);
  EXPECT_EQ(0, asked.clients);
}

TEST_F(VtColour, ThatTheVtShowsAlreadyIsSentWhereAnotherWasAskedFor) {
  SetVtObjectColour(m_screen.barGraph, 12, false);
  SetVtBackColor(m_screen.key, 45, false);
  EXPECT_NE("", callsOf([&] { SetVtObjectColour(m_screen.barGraph, 188, false); }));
  EXPECT_EQ(188, m_screen.records.barGraph.colour);
  EXPECT_NE("", callsOf([&] { SetVtBackColor(m_screen.key, 155, false); }));
  EXPECT_EQ(155, m_screen.records.key.backgroundColour);
}

TEST_F(VtColour, IsAskedForAnewWhereItIsForced) {
  for (int call = 0; call < 2; ++call) {
    EXPECT_NE("", callsOf([&] { SetVtObjectColour(m_screen.barGraph, 12, true); }));
    EXPECT_EQ(1, asked.colours);
    asked = Asked_s();
    EXPECT_NE("", callsOf([&] { SetVtBackColor(m_screen.key, 45, true); }));
    EXPECT_EQ(1, asked.colours);
    asked = Asked_s();
  }
}

class VtListItem : public VtScreenFixture {
protected:
  std::string callsOfItem(uint8_t index, iVtObject_c* item, bool force) {
    return callsOf([&] { SetVtListIndex(m_screen.inputList, index, item, force); });
  }
};

TEST_F(VtListItem, IsNotSentWhereAnEmptyPlaceIsEmptiedUnlessForced) {
  EXPECT_EQ("", callsOfItem(1, nullptr, false));
  EXPECT_EQ("vt 2000: setItem(1, 65535, true)\n", callsOfItem(1, nullptr, true));
}

TEST_F(VtListItem, IsComparedById) {
  m_screen.items[0] = &m_screen.font;
  EXPECT_EQ("", callsOfItem(0, &m_screen.twinOfFont, false));
  EXPECT_EQ(&m_screen.font, m_screen.items[0]);
  EXPECT_EQ("vt 2000: setItem(0, 3000, true)\n", callsOfItem(0, &m_screen.twinOfFont, true));
  EXPECT_EQ(&m_screen.twinOfFont, m_screen.items[0]);
}

TEST_F(VtListItem, WithTheIdOfNoObjectEqualsAnEmptyPlace) {
  m_screen.records.font.object.ID = 0xFFFF;
  EXPECT_EQ("", callsOfItem(0, &m_screen.font, false));
}

TEST_F(VtListItem, IsThatOfItsIndex) {
  EXPECT_EQ("vt 2000: setItem(0, 3000, true)\n", callsOfItem(0, &m_screen.font, false));
  EXPECT_EQ("vt 2000: setItem(2, 3000, true)\n", callsOfItem(2, &m_screen.font, false));
  EXPECT_EQ(nullptr, m_screen.items[1]);
  EXPECT_EQ("vt 2000: setItem(0, 65535, true)\n", callsOfItem(0, nullptr, false));
  EXPECT_EQ(&m_screen.font, m_screen.items[2]);
}

TEST_F(VtListItem, BeyondTheListCountsAsAnEmptyPlace) {
  EXPECT_EQ("", callsOfItem(3, nullptr, false));
  EXPECT_EQ("vt 2000: setItem(3, 3000, true)\n", callsOfItem(3, &m_screen.font, false));
  EXPECT_EQ("vt 2000: setItem(255, 3000, true)\n", callsOfItem(255, &m_screen.font, false));
}
