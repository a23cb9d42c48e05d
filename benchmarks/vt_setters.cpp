// What a setter of a VT object costs whose value has not changed. The peers are an empty function of a shared library,
// a table of the last values by object id, and the bare conversion of a text.
#include "SideBySide.h"
#include "setter_peers/setter_peers.h"

#include <VtObjects.h>
#include <VtText.h>
#include <string_util.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <numeric>
#include <random>
#include <utility>

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

const std::string latinPhrase = "Arbeitsbreite für Düngung über größere Flächen ändern, Höhe prüfen";
const std::string greekPhrase = "Πλάτος εργασίας και ταχύτητα ψεκασμού σήμερα";
const std::string cyrillicPhrase = "Рабочая ширина и скорость опрыскивания поля";

constexpr int calls = 20000;
constexpr int rounds = 400;

// Objects of one type, each with a record of its own.
template <class Object_c, class Record_s>
class Objects_c {
public:
  explicit Objects_c(std::size_t count) : m_records(count), m_objects(new Object_c[count]) {
    for (std::size_t index = 0; index < count; ++index) {
      m_records[index].object.ID = static_cast<uint16_t>(1000 + index);
      m_objects[index].init(&m_records[index]);
    }
  }

  Object_c& operator[](std::size_t index) { return m_objects[index]; }

private:
  std::vector<Record_s> m_records;
  std::unique_ptr<Object_c[]> m_objects;
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

// The objects of a screen in an order that is none, as events and conditions of an application have it.
std::vector<std::size_t> shuffledPlaces(std::size_t count) {
  std::vector<std::size_t> places(count);
  std::iota(places.begin(), places.end(), std::size_t{0});
  std::shuffle(places.begin(), places.end(), std::mt19937(1));
  return places;
}

// Calls ours and the peer for every place, again and again.
template <class Ours, class Peer>
void compareForEach(benchmark::State& state, const std::vector<std::size_t>& places, Ours ours, Peer peer) {
  const int passes = calls / static_cast<int>(places.size());
  const auto timeOfPasses = [&](auto& call) {
    return SideBySide::timeOf(passes, [&] {
      for (const std::size_t place : places) {
        call(place);
      }
    });
  };
  SideBySide::compareTimes(
      state, calls, [&] { return timeOfPasses(ours); }, [&] { return timeOfPasses(peer); });
}

// A setter whose value has not changed beside the empty function.
template <class Own_c, class Set>
void unchanged(benchmark::State& state, Set set) {
  const auto places = shuffledPlaces(static_cast<std::size_t>(state.range(0)));
  Own_c ours(places.size());
  Own_c peers(places.size());
  countAllocations(state, [&] { set(ours[places[0]]); });
  compareForEach(
      state, places, [&](std::size_t place) { set(ours[place]); },
      [&](std::size_t place) { emptyFunction(&peers[place], 0, false); });
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

template <class Ours>
void besideKeyedTable(benchmark::State& state, const std::vector<std::size_t>& places, Ours ours) {
  constexpr uint16_t firstID = 1000;
  std::unordered_map<uint16_t, uint32_t> lastValues;
  for (const std::size_t place : places) {
    lastValues[static_cast<uint16_t>(firstID + place)] = 0;
  }
  compareForEach(state, places, ours, [&](std::size_t place) {
    benchmark::DoNotOptimize(isNewValue(lastValues, static_cast<uint16_t>(firstID + place), 0));
  });
}

void besideKeyedTable(benchmark::State& state) {
  const auto places = shuffledPlaces(static_cast<std::size_t>(state.range(0)));
  Numbers_c numbers(places.size());
  besideKeyedTable(state, places, [&](std::size_t place) { SetVtObject(numbers[place], 0U, false); });
}

// What is left to win: the call by itself beside the same table.
void emptyFunctionBesideKeyedTable(benchmark::State& state) {
  const auto places = shuffledPlaces(static_cast<std::size_t>(state.range(0)));
  Numbers_c numbers(places.size());
  besideKeyedTable(state, places, [&](std::size_t place) { emptyFunction(&numbers[place], 0, false); });
}

// An output string that holds a text, and the text.
class Label_c {
public:
  Label_c(std::string text, std::size_t length) : m_text(std::move(text)), m_storage(length + 1) {
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

// So many bytes of a text, its last character whole.
std::string bytesOf(const std::string& text, std::size_t size) {
  std::size_t end = size;
  while ((text[end] & 0xC0) == 0x80) {
    --end;
  }
  return text.substr(0, end) + std::string(size - end, '.');
}

void unchangedText8859(benchmark::State& state, const std::string& phrase, uint8_t fontEncoding) {
  const auto size = static_cast<std::size_t>(state.range(0));
  setFontEncoding(fontEncoding);
  Label_c label(bytesOf(phrase, size), size);
  SetVtObject(label.object(), label.text(), false, false);
  std::vector<char> target(size + 1);
  const auto set = [&] { SetVtObject(label.object(), label.text(), false, true); };
  countAllocations(state, set);
  SideBySide::compare(state, calls, set, [&] {
    __IsoAgLib::convertStringUnicodeTo8859(label.text().data(), static_cast<uint16_t>(size), target.data(),
                                           fontEncoding);
    benchmark::ClobberMemory();
  });
}

void unchangedTextUtf16(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  Label_c label(std::string(size, 'x'), 2 * size + 2);
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
BENCHMARK(emptyFunctionBesideKeyedTable)->Arg(10)->Arg(1000)->UseManualTime()->Iterations(rounds);
BENCHMARK_CAPTURE(unchangedText8859, ascii, std::string(80, 'x'), uint8_t{0})
    ->Arg(8)
    ->Arg(32)
    ->Arg(64)
    ->UseManualTime()
    ->Iterations(rounds);
BENCHMARK_CAPTURE(unchangedText8859, latin, latinPhrase, uint8_t{0})
    ->Arg(8)
    ->Arg(32)
    ->Arg(64)
    ->UseManualTime()
    ->Iterations(rounds);
BENCHMARK_CAPTURE(unchangedText8859, greek, greekPhrase, uint8_t{7})
    ->Arg(8)
    ->Arg(32)
    ->Arg(64)
    ->UseManualTime()
    ->Iterations(rounds);
BENCHMARK_CAPTURE(unchangedText8859, cyrillic, cyrillicPhrase, uint8_t{5})
    ->Arg(8)
    ->Arg(32)
    ->Arg(64)
    ->UseManualTime()
    ->Iterations(rounds);
BENCHMARK(unchangedTextUtf16)->Arg(8)->Arg(32)->Arg(64)->UseManualTime()->Iterations(rounds);
