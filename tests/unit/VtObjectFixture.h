// The ground of the tests of VT objects: a journal that takes their calls, and their commands caught.
#pragma once

#include "Journal.h"
#include "JournalText.h"
#include "VtCommands.h"

#include <gtest/gtest.h>

namespace TestSupport {

class VtObjectFixture : public testing::Test {
protected:
  void SetUp() override {
    IsoBusHost::Journal::clear();
    IsoBusHost::Journal::setVtCalls(true);
  }
  void TearDown() override {
    IsoBusHost::Journal::setVtCalls(false);
    IsoBusHost::Journal::clear();
  }

  // expectOne: one call in the journal and one command of the object.
  void expectOne(const std::string& call, const std::string& command, const __IsoAgLib::vtObject_c& object) {
    EXPECT_EQ(call + "\n", journalText());
    EXPECT_EQ(command + "\n", m_commands.text());
    ASSERT_EQ(1U, m_commands.commands().size());
    EXPECT_EQ(&object, m_commands.commands()[0].object);
  }

  VtCommands_c m_commands;
};

} // namespace TestSupport
