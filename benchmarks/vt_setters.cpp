// What a setter of a VT object costs whose value has not changed. The peers are an empty function of a shared library,
// a table of the last values by object id, and the bare conversion of a text.
#include "SideBySide.h"
#include "setter_peers/setter_peers.h"

#include <VtObjects.h>
#include <VtText.h>
#include <string_util.h>

#include <cstdlib>
#include <memory>
#include <new>

namespace {

std::size_t allocations = 0;

} // namespace

// Not inlined: the compiler would take malloc and delete for a pair that does not match.
__attribute__((noinline)) void* operator new(std::size_t size) {
  ++allocations;
  if (void* block = std::malloc(size == 0 ? 1 : size)) {
    return block;
  }
  throw std::bad_alloc();
}

__attribute__((noinline)) void operator delete(void* block) noexcept {
  std::free(block);
}

__attribute__((noinline)) void operator delete(void* block, std::size_t /*size*/) noexcept {
  std::free(block);
}

namespace {

constexpr int calls = 20000;
constexpr int rounds = 400;

// Objects of one type, each with a record of its own.
template <class Object_c, class Record_s>
class Objects_c {
public:
  explicit Objects_c(std::size_t count) : m_records(count), m_objects(new Object_c[count]), m_count(count) {
    for (std::size_t index = 0; index < count; ++index) {
      m_records[index].object.ID = static_cast<uint16_t>(1000 + index);
      m_objects[index].init(&m_records[index]);
    }
  }

  // Each in turn, as a screen is refreshed.
  Object_c& next() {
    m_next = m_next + 1 == m_count ? 0 : m_next + 1;
    return m_objects[m_next];
  }
  uint16_t nextID() {
    m_next = m_next + 1 == m_count ? 0 : m_next + 1;
    return static_cast<uint16_t>(1000 + m_next);
  }

private:
  std::vector<Record_s> m_records;
  std::unique_ptr<Object_c[]> m_objects;
  std::size_t m_count;
  std::size_t m_next = 0;
};

using Numbers_c = Objects_c<IsoAgLib::iVtObjectOutputNumber_c, IsoAgLib::iVtObjectOutputNumber_s>;
using Keys_c = Objects_c<IsoAgLib::iVtObjectKey_c, IsoAgLib::iVtObjectKey_s>;

// Counts what `work` allocates, apart from its time.
template <class Work>
void countAllocations(benchmark::State& state, Work&& work) {
  const std::size_t before = allocations;
  for (int call = 0; call < calls; ++call) {
    work();
  }
  state.counters["allocations"] = static_cast<double>(allocations - before);
}

// A setter whose value has not changed beside the empty function.
template <class Own_c, class Set>
void unchanged(benchmark::State& state, Set set) {
  Own_c ours(static_cast<std::size_t>(state.range(0)));
  Own_c peers(static_cast<std::size_t>(state.range(0)));
  countAllocations(state, [&] { set(ours.next()); });
  SideBySide::compare(
      state, calls, [&] { set(ours.next()); }, [&] { emptyFunction(&peers.next(), 0, false); });
}

void unchangedValue(benchmark::State& state) {
  unchanged<Numbers_c>(state, [](IsoAgLib::iVtObjectOutputNumber_c& object) { SetVtObject(object, 0U, false); });
}

void unchangedAttribute(benchmark::State& state) {
  unchanged<Numbers_c>(state, [](IsoAgLib::iVtObjectOutputNumber_c& object) { SetVtOffset(object, 0, false); });
}

void unchangedReference(benchmark::State& state) {
  unchanged<Numbers_c>(state, [](IsoAgLib::iVtObjectOutputNumber_c& object) {
    SetVtObject(object, static_cast<IsoAgLib::iVtObjectFontAttributes_c*>(nullptr), false);
  });
}

void unchangedColour(benchmark::State& state) {
  unchanged<Keys_c>(state, [](IsoAgLib::iVtObjectKey_c& object) { SetVtBackColor(object, 0, false); });
}

void besideKeyedTable(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  Numbers_c ours(count);
  Numbers_c peers(count);
  std::unordered_map<uint16_t, uint32_t> lastValues;
  for (std::size_t index = 0; index < count; ++index) {
    lastValues[peers.nextID()] = 0;
  }
  SideBySide::compare(
      state, calls, [&] { SetVtObject(ours.next(), 0U, false); },
      [&] { benchmark::DoNotOptimize(isNewValue(lastValues, peers.nextID(), 0)); });
}

// An output string that holds a text, and the text.
class Label_c {
public:
  explicit Label_c(std::size_t size, std::size_t length) : m_text(size, 'x'), m_storage(length + 1) {
    m_record.length = static_cast<uint16_t>(length);
    m_record.value = m_storage.data();
    m_object.init(&m_record);
  }

  const std::string& text() const { return m_text; }
  IsoAgLib::iVtObjectOutputString_c& object() { return m_object; }

private:
  std::string m_text;
  std::vector<char> m_storage;
  IsoAgLib::iVtObjectOutputString_s m_record = {};
  IsoAgLib::iVtObjectOutputString_c m_object;
};

void unchangedText8859(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  Label_c label(size, size);
  SetVtObject(label.object(), label.text(), false, false);
  std::vector<char> target(size + 1);
  const auto set = [&] { SetVtObject(label.object(), label.text(), false, true); };
  countAllocations(state, set);
  SideBySide::compare(state, calls, set, [&] {
    __IsoAgLib::convertStringUnicodeTo8859(label.text().data(), static_cast<uint16_t>(size), target.data(), 0);
    benchmark::ClobberMemory();
  });
}

void unchangedTextUtf16(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  Label_c label(size, 2 * size + 2);
  SetVtObjectUTF8(label.object(), label.text(), false, false);
  const auto set = [&] { SetVtObjectUTF8(label.object(), label.text(), false, true); };
  countAllocations(state, set);
  SideBySide::compare(state, calls, set,
                      [&] { benchmark::DoNotOptimize(ConvertUtf8String2BomString(label.text()).data()); });
}

} // namespace

BENCHMARK(unchangedValue)->Arg(1)->Arg(10)->Arg(1000)->UseManualTime()->Iterations(rounds);
BENCHMARK(unchangedAttribute)->Arg(1)->Arg(1000)->UseManualTime()->Iterations(rounds);
BENCHMARK(unchangedReference)->Arg(1)->Arg(1000)->UseManualTime()->Iterations(rounds);
BENCHMARK(unchangedColour)->Arg(1)->Arg(1000)->UseManualTime()->Iterations(rounds);
BENCHMARK(besideKeyedTable)->Arg(10)->Arg(1000)->UseManualTime()->Iterations(rounds);
BENCHMARK(unchangedText8859)->Arg(8)->Arg(32)->Arg(64)->UseManualTime()->Iterations(rounds);
BENCHMARK(unchangedTextUtf16)->Arg(8)->Arg(32)->Arg(64)->UseManualTime()->Iterations(rounds);
