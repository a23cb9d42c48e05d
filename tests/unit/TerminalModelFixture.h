// A client of the terminal without a bus, with the pool of TerminalPool.h on the screen.
#pragma once

#include "BusText.h"
#include "TerminalPool.h"
#include "terminal/WorkingSetModel.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

class TerminalModelFixture : public testing::Test {
protected:
  explicit TerminalModelFixture(ModelSettings_s settings = {})
      : model(settings, [this](const Change_s& change) { changes.push_back(change); }) {
    const TerminalPool::Bytes pool = TerminalPool::sample(settings.version);
    model.readPool(pool.data(), pool.size());
    const auto error = model.endPool();
    EXPECT_FALSE(error) << error->text << ", object " << error->object << ", parent " << error->parent;
    model.setShown(true);
    changes.clear();
  }

  // ask: a command in, the answer without its fill out. The command is filled up to 8 bytes.
  std::string ask(const std::string& command) { return TerminalPool::withoutFill(model.command(framed(command))); }

  static TerminalPool::Bytes framed(const std::string& command) {
    TerminalPool::Bytes bytes = BusText::bytesOf(command);
    bytes.resize(std::max<std::size_t>(bytes.size(), 8), 0xFF);
    return bytes;
  }

  uint32_t value(uint16_t id, Attribute_e attribute) const { return model.pool().find(id)->value(attribute); }

  std::vector<Change_s> changes;
  WorkingSetModel_c model;
};
