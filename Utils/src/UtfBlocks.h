// What the fast ways through Unicode text have in common: blocks of 16 bytes, with SSE2, and with SSSE3 where the
// processor has it.
//
// They take well-formed text only, piece by piece, and leave everything else, errors among it, to UtfSimple.h. Nothing
// outside a text is read, and what stands behind the last unit of a result stays as it was.
#pragma once

#include "UtfSimple.h"

#include <algorithm>
#include <array>

#if defined(__SSE2__) && !defined(ZEMO_PORTABLE_UTF)
#define ZEMO_UTF_BLOCKS
#include <cpuid.h>
#include <emmintrin.h>

namespace Utf {

constexpr std::size_t blockSize = 16;

inline __m128i loadBlock(const void* place) {
  return _mm_loadu_si128(static_cast<const __m128i*>(place));
}

inline void storeBlock(void* place, __m128i block) {
  _mm_storeu_si128(static_cast<__m128i*>(place), block);
}

inline __m128i bytes(int value) {
  return _mm_set1_epi8(static_cast<char>(value));
}

inline __m128i units(uint32_t value) {
  return _mm_set1_epi16(static_cast<short>(value));
}

inline __m128i words(uint32_t value) {
  return _mm_set1_epi32(static_cast<int>(value));
}

inline uint32_t maskOf(__m128i flags) {
  return static_cast<uint32_t>(_mm_movemask_epi8(flags));
}

// The last bytes of a text, 1 to 15, with zeros behind them.
inline __m128i loadPart(const uint8_t* text, std::size_t size) {
  if (size >= 8) {
    const __m128i end = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text + size - 8));
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(8 * (16 - size)));
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(text)), _mm_srl_epi64(end, shift));
  }
  if (size >= 4) {
    const __m128i end = _mm_cvtsi32_si128(loadWord<int>(text + size - 4));
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(8 * (size - 4)));
    return _mm_or_si128(_mm_cvtsi32_si128(loadWord<int>(text)), _mm_sll_epi64(end, shift));
  }
  const uint32_t middle = uint32_t{text[size / 2]} << (8 * (size / 2));
  const uint32_t last = uint32_t{text[size - 1]} << (8 * (size - 1));
  return _mm_cvtsi32_si128(static_cast<int>(text[0] | middle | last));
}

// Where the units of half a block come from that are kept, one bit each: places of bytes, every second one. And how
// many units that are. The last unit is kept in any case, it may stand behind those that count.
struct UnitPacking_s {
  std::array<std::array<uint8_t, blockSize / 2>, 128> places;
  std::array<uint8_t, 128> counts; // without the last unit
};

constexpr UnitPacking_s packingOfUnits() {
  UnitPacking_s packing = {};
  for (std::size_t mask = 0; mask < 128; ++mask) {
    std::size_t count = 0;
    for (std::size_t unit = 0; unit < 7; ++unit) {
      if ((mask >> unit & 1) != 0) {
        packing.places[mask][count++] = static_cast<uint8_t>(2 * unit);
      }
    }
    packing.places[mask][count] = 2 * 7;
    packing.counts[mask] = static_cast<uint8_t>(count);
  }
  return packing;
}

// Four characters of one to three bytes in words of 32 bits: which order moves the bytes together. The orders are
// numbered by the lengths of the first three characters less one, to the base of three; the last character has three
// bytes in any case, it may stand behind those that count.
struct BytePacking_s {
  std::array<std::array<uint8_t, blockSize>, 27> orders;
  std::array<uint8_t, 16> numbers; // by words, one bit each, that have one more byte
  std::array<uint8_t, 16> counts;  // of them
};

constexpr BytePacking_s packingOfBytes() {
  BytePacking_s packing = {};
  for (std::size_t number = 0; number < 27; ++number) {
    auto& order = packing.orders[number];
    std::size_t count = 0;
    std::size_t rest = number;
    for (std::size_t word = 0; word < 4; ++word) {
      const std::size_t length = word < 3 ? rest % 3 + 1 : 3;
      for (std::size_t byte = 0; byte < length; ++byte) {
        order[count++] = static_cast<uint8_t>(4 * word + byte);
      }
      rest /= 3;
    }
  }
  for (std::size_t words = 0; words < 16; ++words) {
    packing.numbers[words] = static_cast<uint8_t>((words & 1) + (words >> 1 & 1) * 3 + (words >> 2 & 1) * 9);
    packing.counts[words] = static_cast<uint8_t>((words & 1) + (words >> 1 & 1) + (words >> 2 & 1) + (words >> 3));
  }
  return packing;
}

constexpr std::array<uint8_t, 2 * blockSize> orderOfMoving() {
  std::array<uint8_t, 2 * blockSize> order = {};
  for (uint8_t place = 0; place < 2 * blockSize; ++place) {
    order[place] = place < blockSize ? place : 0x80; // the upper bit asks for a zero
  }
  return order;
}

constexpr std::array<uint8_t, 2 * blockSize> onesBeforeZeros() {
  std::array<uint8_t, 2 * blockSize> bytes = {};
  for (std::size_t place = 0; place < blockSize; ++place) {
    bytes[place] = 0xFF;
  }
  return bytes;
}

inline constexpr std::array<uint8_t, 2 * blockSize> firstBytes = onesBeforeZeros();
inline constexpr std::array<uint8_t, 2 * blockSize> movingOrder = orderOfMoving();
inline constexpr UnitPacking_s unitPacking = packingOfUnits();
inline constexpr BytePacking_s bytePacking = packingOfBytes();

// Puts the bytes of a block into another order; zeros where the order has its upper bit set. The two instructions of
// SSSE3 are named here and in movedOn, and nowhere else, so that the library runs on processors without them: ask
// hasShuffle first.
inline __m128i shuffle(__m128i block, __m128i order) {
  __asm__("pshufb %1, %0" : "+x"(block) : "x"(order));
  return block;
}

__attribute__((noinline)) inline bool askForShuffle() {
  unsigned int a = 0;
  unsigned int b = 0;
  unsigned int c = 0;
  unsigned int d = 0;
  __cpuid(1, a, b, c, d); // which every processor with SSE2 answers
  return (c & bit_SSSE3) != 0;
}

enum Shuffle_e { notAsked, absent, present };

// Asked once, by the first text: the question costs more than a label. Threads that ask at once get the same answer.
inline int shuffleOfProcessor = notAsked;

inline bool hasShuffle() {
  int known = __atomic_load_n(&shuffleOfProcessor, __ATOMIC_RELAXED);
  if (known == notAsked) {
    known = askForShuffle() ? present : absent;
    __atomic_store_n(&shuffleOfProcessor, known, __ATOMIC_RELAXED);
  }
  return known == present;
}

// Moves the units to the front whose bits are set; what follows them is anything.
inline __m128i packUnits(__m128i block, uint32_t kept) {
  const __m128i places = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(unitPacking.places[kept & 127].data()));
  return shuffle(block, _mm_or_si128(_mm_unpacklo_epi8(places, places), units(0x0100)));
}

inline std::size_t countOf(uint32_t kept) {
  return unitPacking.counts[kept & 127] + (kept >> 7);
}

// A block moved on by so many bytes; the block before it ends with those that come first.
template <int count>
inline __m128i movedOn(__m128i block, __m128i before) {
  __asm__("palignr %2, %1, %0" : "+x"(block) : "x"(before), "i"(static_cast<int>(blockSize) - count));
  return block;
}

// Drops bytes at the front, and puts zeros at the end.
inline __m128i moveToFront(__m128i block, std::size_t dropped) {
  return shuffle(block, loadBlock(movingOrder.data() + dropped));
}

// The next block of a text, with zeros behind the text's end.
inline __m128i loadNext(const uint8_t* text, std::size_t size, std::size_t place) {
  const std::size_t left = size - place;
  if (left >= blockSize) {
    return loadBlock(text + place);
  }
  return size < blockSize ? loadPart(text, size) : moveToFront(loadBlock(text + size - blockSize), blockSize - left);
}

// Where a conversion stands. The target is counted in bytes, whatever its units are.
template <class Source_t>
struct Cursors_s {
  const Source_t* source;
  const Source_t* sourceEnd;
  uint8_t* target;
  uint8_t* targetEnd;

  std::size_t size() const { return unitsBetween(source, sourceEnd); }
  std::size_t room() const { return unitsBetween<uint8_t>(target, targetEnd); }
  void advance(std::size_t taken, std::size_t written) {
    source += taken;
    target += written;
  }
};

// Takes a character, or as many as there are in the units that one may have.
template <class Source_t>
inline void takeOne(Cursors_s<Source_t>& cursors, std::size_t targetUnit) {
  const Source_t* end = cursors.source + std::min(cursors.size(), sizeof(uint32_t) / sizeof(Source_t));
  convertUnits(&cursors.source, end, sizeof(Source_t), &cursors.target, cursors.targetEnd, targetUnit, strict);
}

// What is converted at once, in units.
constexpr std::size_t pieceSize = 256;

// What may be written behind a result, and is put back.
constexpr std::size_t spareBytes = 2 * blockSize;

} // namespace Utf

#endif
