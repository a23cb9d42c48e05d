// The commands and the pool of the VT objects as another program reads them.
#include "../../platform/isoaglib/src/vt/VtSeam.h"
#include "CanFrame.h"
#include "Capture.h"
#include "ChildProcess.h"
#include "Files.h"
#include "VtCommands.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

using namespace IsoAgLib;
using namespace IsoBusHost;
using namespace TestSupport;

namespace {

constexpr uint8_t ecu = 0x80;
constexpr uint8_t vt = 0x26;
constexpr uint32_t ecuToVt = 0xE700;

using Bytes_t = std::vector<uint8_t>;

// Recording_c: writes messages from the ECU to the VT into a file of Wireshark's.
class Recording_c {
public:
  explicit Recording_c(const std::string& path) : m_capture(openPcap(path, m_error)) {}

  void add(const Bytes_t& message) {
    if (message.size() <= 8) {
      addFrame(5, ecuToVt, ecu, vt, message);
    } else {
      addPackets(message);
    }
  }

private:
  void addFrame(uint8_t priority, uint32_t pgn, uint8_t source, uint8_t destination, const Bytes_t& data) {
    CanFrame_s frame;
    frame.identifier = encodeIdentifier({priority, pgn, destination, source});
    frame.length = static_cast<uint8_t>(data.size());
    std::copy(data.begin(), data.end(), frame.data.begin());
    m_timeUs += 1000;
    m_capture->write(frame, "can0", m_timeUs);
  }

  void addPackets(const Bytes_t& message) {
    constexpr std::size_t perPacket = 7;
    const auto size = static_cast<uint16_t>(message.size());
    const auto packets = static_cast<uint8_t>((message.size() + perPacket - 1) / perPacket);
    const auto low = static_cast<uint8_t>(size);
    const auto high = static_cast<uint8_t>(size >> 8);
    addFrame(7, Pgn::transportManagement, ecu, vt, {0x10, low, high, packets, 0xFF, 0x00, 0xE7, 0x00});
    addFrame(7, Pgn::transportManagement, vt, ecu, {0x11, packets, 0x01, 0xFF, 0xFF, 0x00, 0xE7, 0x00});
    for (uint8_t packet = 0; packet < packets; ++packet) {
      Bytes_t data(8, 0xFF);
      data[0] = static_cast<uint8_t>(packet + 1);
      const std::size_t begin = packet * perPacket;
      const std::size_t end = std::min(message.size(), begin + perPacket);
      std::copy(message.begin() + static_cast<std::ptrdiff_t>(begin),
                message.begin() + static_cast<std::ptrdiff_t>(end), data.begin() + 1);
      addFrame(7, Pgn::transportData, ecu, vt, data);
    }
    addFrame(7, Pgn::transportManagement, vt, ecu, {0x13, low, high, packets, 0xFF, 0x00, 0xE7, 0x00});
  }

  std::string m_error;
  std::unique_ptr<Capture_c> m_capture;
  uint64_t m_timeUs = 0;
};

// A small pool, every kind of command once, and their capture.
struct Screen_s {
  iVtObjectWorkingSet_s workingSetRecord{};
  iVtObjectWorkingSet_c workingSet;
  iVtObjectDataMask_s maskRecord{};
  iVtObjectDataMask_c mask;
  iVtObjectContainer_s containerRecord{};
  iVtObjectContainer_c container;
  iVtObjectInputList_s listRecord{};
  iVtObjectInputList_c list;
  iVtObjectOutputString_s stringRecord{};
  iVtObjectOutputString_c string;
  char text[11] = {};
  iVtObject_c* items[1] = {&string};
  iVtChild_s maskChildren[1] = {{&container, 1, 2}};
  iVtChild_s containerChildren[1] = {{&list, 3, 4}};
  __IsoAgLib::vtObject_c* objects[5] = {&workingSet, &mask, &container, &list, &string};
  iVtObjectPool_c pool{objects, 5};

  Screen_s() {
    workingSetRecord.object.ID = 1000;
    workingSetRecord.activeMask = &mask;
    workingSetRecord.numberOfLanguages = 1;
    workingSetRecord.languages = "en";
    workingSet.init(&workingSetRecord);
    maskRecord.object.ID = 1100;
    maskRecord.numberOfChildren = 1;
    maskRecord.children = maskChildren;
    mask.init(&maskRecord);
    containerRecord.object.ID = 1200;
    containerRecord.numberOfChildren = 1;
    containerRecord.children = containerChildren;
    container.init(&containerRecord);
    listRecord.object.ID = 1300;
    listRecord.numberOfItems = 1;
    listRecord.items = items;
    list.init(&listRecord);
    stringRecord.object.ID = 1400;
    stringRecord.length = 10;
    stringRecord.value = text;
    string.init(&stringRecord);
  }

  void changeAll() {
    container.hideShow(1, true, false);
    list.able(1, true, false);
    list.setValue(0, true, true);
    workingSet.changeActiveMask(&mask, true, false);
    mask.setSoftKeyMask(nullptr, true, false);
    string.saveValue16SetAttribute(ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, width),
                                   sizeof(iVtObjectOutputString_s), 1, 80, false);
    list.setItem(0, nullptr, true);
    string.setValueCopy("Hi", true, false);
    string.setValueCopy("Speed", true, false);
  }

  void record(const std::string& path) {
    Recording_c recording(path);
    ASSERT_EQ("", checkVtPool(pool));
    Bytes_t transfer = {0x11};
    const Bytes_t records =
        writeVtPool(pool, [](uint8_t colour, const __IsoAgLib::vtObject_c&, e_vtColour) { return colour; });
    transfer.insert(transfer.end(), records.begin(), records.end());
    recording.add(transfer);
    const VtCommands_c commands;
    changeAll();
    for (const VtCommand_s& command : commands.commands()) {
      recording.add(command.bytes);
    }
  }
};

} // namespace

class VtObjectWireshark : public testing::Test {
protected:
  void SetUp() override {
    if (runProgram({"sh", "-c", "command -v tshark"}).exitStatus != 0) {
      GTEST_SKIP() << "tshark is not installed";
    }
    Screen_s().record(m_file);
  }

  std::string read(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command = {"tshark", "-r", m_file, "-d", "can.subdissector,isobus"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const Ending_s ending = runProgram(command);
    EXPECT_EQ(0, ending.exitStatus) << ending.standardError;
    return ending.standardOutput;
  }

  TemporaryFolder_c m_folder;
  std::string m_file = m_folder.path() + "/vt.pcap";
};

TEST_F(VtObjectWireshark, FindsNothingMalformed) {
  EXPECT_EQ("", read({"-Y", "_ws.malformed"}));
}

// The first line is the pool: its records are not taken apart.
TEST_F(VtObjectWireshark, ReadsTheCommandsAsTheyAreMeant) {
  EXPECT_EQ("[TP.DT] \n"
            "[ECU2VT] Object ID 0x04B0 should show\n"
            "[ECU2VT] Object ID 0x0514 should enable\n"
            "[ECU2VT] Numeric value of Object ID 0x0514 should change to 0x0\n"
            "[ECU2VT] Change active mask of working set Object ID 0x03E8 to Object ID 0x044C\n"
            "[ECU2VT] Soft key mask of Object ID 0x044C should change to NULL Object ID\n"
            "[ECU2VT] Attribute ID 1 of Object ID 0x0578 should change to 0x50\n"
            "[ECU2VT] NULL Object ID should be added to list Object ID 0x0514 at index 0\n"
            "[ECU2VT] String value of Object ID 0x0578 should change to Hi\n"
            "[TP.DT] String value of Object ID 0x0578 should change to Speed\n",
            read({"-Y", "isobus.vt", "-T", "fields", "-e", "_ws.col.Info"}));
}
