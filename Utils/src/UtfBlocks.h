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

template <class Word_t>
Word_t loadWord(const uint8_t* place) {
  Word_t word;
  std::memcpy(&word, place, sizeof word);
  return word;
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
// many units that are.
struct UnitPacking_s {
  std::array<std::array<uint8_t, blockSize / 2>, 256> places;
  std::array<uint8_t, 256> counts;
};

constexpr UnitPacking_s packingOfUnits() {
  UnitPacking_s packing = {};
  for (std::size_t mask = 0; mask < 256; ++mask) {
    std::size_t count = 0;
    for (std::size_t unit = 0; unit < 8; ++unit) {
      if ((mask >> unit & 1) != 0) {
        packing.places[mask][count++] = static_cast<uint8_t>(2 * unit);
      }
    }
    packing.counts[mask] = static_cast<uint8_t>(count);
  }
  return packing;
}

// Four characters of one to three bytes in words of 32 bits, their bytes before the word's last one: which order moves
// the bytes together. A mask has a low bit for more than one byte, the bit four above it for three; the last byte of an
// order tells how many bytes there are.
struct BytePacking_s {
  std::array<uint8_t, 256> numbers; // of orders, by mask
  std::array<std::array<uint8_t, blockSize>, 81> orders;
};

constexpr BytePacking_s packingOfBytes() {
  BytePacking_s packing = {};
  for (std::size_t number = 0; number < 81; ++number) {
    auto& order = packing.orders[number];
    std::size_t mask = 0;
    std::size_t count = 0;
    std::size_t rest = number; // lengths less one, to the base of three
    for (std::size_t word = 0; word < 4; ++word) {
      const std::size_t isTwo = rest % 3 > 0 ? 1 : 0;
      const std::size_t isThree = rest % 3 / 2;
      mask |= isTwo << word | isThree << (word + 4);
      for (std::size_t byte = 2 - rest % 3; byte < 3; ++byte) {
        order[count++] = static_cast<uint8_t>(4 * word + byte);
      }
      rest /= 3;
    }
    packing.numbers[mask] = static_cast<uint8_t>(number);
    order[blockSize - 1] = static_cast<uint8_t>(count);
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

inline constexpr std::array<uint8_t, 2 * blockSize> movingOrder = orderOfMoving();
inline constexpr UnitPacking_s unitPacking = packingOfUnits();
inline constexpr BytePacking_s bytePacking = packingOfBytes();

// Puts the bytes of a block into another order; zeros where the order has its upper bit set. The instruction is named
// here and nowhere else, so that the library runs on processors without it: ask hasShuffle first.
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

// Moves the units to the front whose bits are set.
inline __m128i packUnits(__m128i block, uint32_t kept) {
  const __m128i places = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(unitPacking.places[kept].data()));
  return shuffle(block, _mm_or_si128(_mm_unpacklo_epi8(places, places), units(0x0100)));
}

// Drops bytes at the front, and puts zeros at the end.
inline __m128i moveToFront(__m128i block, std::size_t dropped) {
  return shuffle(block, loadBlock(movingOrder.data() + dropped));
}

// Writes exactly this many bytes; 16 can be read from the source in any case.
inline void copyExactly(void* target, const void* source, std::size_t size) {
  auto* to = static_cast<uint8_t*>(target);
  const auto* from = static_cast<const uint8_t*>(source);
  if (size >= blockSize) {
    for (std::size_t place = 0; place < size - blockSize; place += blockSize) {
      storeBlock(to + place, loadBlock(from + place));
    }
    storeBlock(to + size - blockSize, loadBlock(from + size - blockSize));
    return;
  }
  if (size >= 8) {
    std::memcpy(to, from, 8);
    std::memcpy(to + size - 8, from + size - 8, 8);
  } else if (size >= 4) {
    std::memcpy(to, from, 4);
    std::memcpy(to + size - 4, from + size - 4, 4);
  } else {
    for (std::size_t place = 0; place < size; ++place) {
      to[place] = from[place];
    }
  }
}

} // namespace Utf

#endif
