// Well-formed UTF-8 on the fast way: checked, and turned into UTF-16 or UTF-32.
//
// Each byte that ends a character is given the character's value, by the three bytes before it; then the values at
// those bytes are moved together. A short text goes straight to its place when it is known to be right and to fit
// there; a piece of a longer one is made beside it first.
#pragma once

#include "UtfBlocks.h"

#if defined(ZEMO_UTF_BLOCKS)

namespace Utf {

inline __m128i continuationsOf(__m128i block) {
  return _mm_cmplt_epi8(block, bytes(0xC0));
}

inline __m128i areLeadsOfFour(__m128i block) {
  return _mm_cmpeq_epi8(_mm_max_epu8(block, bytes(0xF0)), block);
}

// Which bytes cannot follow the byte before them: after C0 and C1 none, after E0 those below A0, after ED those from
// A0.
inline __m128i brokenRules(__m128i block, __m128i before) {
  const __m128i fromA0 = _mm_cmpgt_epi8(block, bytes(0x9F));
  const __m128i never = _mm_cmpeq_epi8(_mm_and_si128(before, bytes(0xFE)), bytes(0xC0));
  const __m128i tooSmall = _mm_andnot_si128(fromA0, _mm_cmpeq_epi8(before, bytes(0xE0)));
  const __m128i tooLarge = _mm_and_si128(fromA0, _mm_cmpeq_epi8(before, bytes(0xED)));
  return _mm_or_si128(never, _mm_or_si128(tooSmall, tooLarge));
}

// The same for leads of four bytes: after F5 and above none, after F0 those below 90, after F4 those from 90.
inline __m128i brokenRulesOfFour(__m128i block, __m128i before) {
  const __m128i from90 = _mm_cmpgt_epi8(block, bytes(0x8F));
  const __m128i never = _mm_cmpeq_epi8(_mm_max_epu8(before, bytes(0xF5)), before);
  const __m128i tooSmall = _mm_andnot_si128(from90, _mm_cmpeq_epi8(before, bytes(0xF0)));
  const __m128i tooLarge = _mm_and_si128(from90, _mm_cmpeq_epi8(before, bytes(0xF4)));
  return _mm_or_si128(never, _mm_or_si128(tooSmall, tooLarge));
}

// A block of a text, and the text one, two and three bytes before it.
struct Window_s {
  __m128i block;
  __m128i before1;
  __m128i before2;
  __m128i before3;
};

inline Window_s windowAtStart(__m128i block) {
  return {block, _mm_slli_si128(block, 1), _mm_slli_si128(block, 2), _mm_slli_si128(block, 3)};
}

// The first three bytes of a text have fewer before them.
__attribute__((noinline)) inline Window_s windowNearStart(const uint8_t* text, std::size_t place) {
  Window_s window = windowAtStart(loadBlock(text));
  for (std::size_t step = 1; step <= place; ++step) {
    window = {loadBlock(text + step), window.block, window.before1, window.before2};
  }
  return window;
}

__attribute__((noinline)) inline Window_s windowOfShortText(const uint8_t* text, std::size_t size) {
  return windowAtStart(loadPart(text, size));
}

// Blocks of 16 bytes, but for a text that ends before that.
inline Window_s windowAt(const uint8_t* text, std::size_t place, std::size_t end) {
  if (place >= 3) {
    return {loadBlock(text + place), loadBlock(text + place - 1), loadBlock(text + place - 2),
            loadBlock(text + place - 3)};
  }
  if (place > 0) {
    return windowNearStart(text, place);
  }
  return end < blockSize ? windowOfShortText(text, end) : windowAtStart(loadBlock(text));
}

// What there is to do with a window: the bytes that come for the first time, from bit first on, and whether a character
// begins behind it.
struct Task_s {
  uint32_t fresh;
  unsigned int first;
  bool isNextStart;
};

constexpr uint32_t allBytes = 0xFFFF;

// The last 16 bytes of a text of which the last ones are fresh.
inline Task_s lastTask(std::size_t fresh) {
  const auto first = static_cast<unsigned int>(blockSize - fresh);
  return {allBytes << first & allBytes, first, true};
}

// A text of at most 16 bytes.
inline Window_s windowOfAll(const uint8_t* text, std::size_t size) {
  return windowAtStart(size == blockSize ? loadBlock(text) : loadPart(text, size));
}

// Visits the blocks of a piece of a text that begins and ends between characters: whole ones, and for what is left
// behind them the last 16 bytes up to the piece's end. The visit stands in the code once, whatever block it is for.
template <class Visit_c>
__attribute__((always_inline)) inline void visitBlocks(const uint8_t* text, std::size_t begin, std::size_t end,
                                                       const Visit_c& visit) {
  for (std::size_t place = begin; place < end; place += blockSize) {
    const bool isLast = end - place <= blockSize;
    const std::size_t from = isLast && end >= blockSize ? end - blockSize : place;
    const auto first = static_cast<unsigned int>(place - from);
    const auto behind = static_cast<unsigned int>(std::min(end - from, blockSize));
    const bool isNextStart = isLast || !isContinuation(text[place + blockSize]);
    visit(windowAt(text, from, end), Task_s{(1U << behind) - (1U << first), first, isNextStart});
  }
}

// Follows a piece of UTF-8 from block to block. Characters of four bytes are rare and cost more: without them a
// follower calls such a piece not well-formed, and another one may try again.
template <bool WithFour>
class Follower_c {
public:
  // Gives the bytes that end a unit of UTF-16, one bit each: the last byte of each character, and of a character of
  // four the third as well.
  __attribute__((always_inline)) uint32_t take(const Window_s& window, const Task_s& task) {
    const uint32_t nonAscii = maskOf(window.block) & task.fresh;
    const uint32_t continuations = maskOf(continuationsOf(window.block)) & task.fresh;
    const uint32_t leadsOfThree = maskOf(_mm_cmpgt_epi8(window.block, bytes(0xDF))) & nonAscii; // or of more
    uint32_t expected = (nonAscii & ~continuations) << 1 | leadsOfThree << 2 | m_expected << task.first;
    __m128i broken = brokenRules(window.block, window.before1);
    uint32_t thirds = 0;
    if constexpr (WithFour) {
      const uint32_t leadsOfFour = maskOf(areLeadsOfFour(window.block)) & task.fresh;
      expected |= leadsOfFour << 3;
      thirds = leadsOfFour << 2 | m_thirds << task.first;
      m_thirds = thirds >> blockSize;
      broken = _mm_or_si128(broken, brokenRulesOfFour(window.block, window.before1));
    }
    m_wrong |= ((expected & allBytes) ^ continuations) | (maskOf(broken) & task.fresh);
    m_expected = expected >> blockSize;
    m_largest = _mm_max_epu8(m_largest, window.block);
    const uint32_t lasts = (~continuations & allBytes) >> 1 | uint32_t{task.isNextStart} << (blockSize - 1);
    return (lasts | thirds) & task.fresh;
  }

  bool hasFour() const { return maskOf(areLeadsOfFour(m_largest)) != 0; }
  bool isWellFormed() const { return (m_wrong | m_expected) == 0 && (WithFour || !hasFour()); }

private:
  uint32_t m_wrong = 0;
  uint32_t m_expected = 0; // continuations that the next block has to begin with
  uint32_t m_thirds = 0;   // third bytes of four in the next block
  __m128i m_largest = _mm_setzero_si128();
};

// The values at the bytes of a block, in two halves.
struct Values_s {
  __m128i low;
  __m128i high;
};

inline __m128i join(__m128i last, __m128i middle, __m128i first) {
  return _mm_or_si128(_mm_or_si128(last, _mm_slli_epi16(middle, 6)), _mm_slli_epi16(first, 12));
}

inline Values_s valuesOf(const Window_s& window) {
  const __m128i none = _mm_setzero_si128();
  const __m128i continuations = continuationsOf(window.block);
  const __m128i last = _mm_andnot_si128(_mm_and_si128(continuations, bytes(0xC0)), window.block);
  const __m128i middle = _mm_and_si128(_mm_and_si128(window.before1, bytes(0x3F)), continuations);
  const __m128i first = _mm_and_si128(_mm_and_si128(window.before2, continuationsOf(window.before1)), continuations);
  return {join(_mm_unpacklo_epi8(last, none), _mm_unpacklo_epi8(middle, none), _mm_unpacklo_epi8(first, none)),
          join(_mm_unpackhi_epi8(last, none), _mm_unpackhi_epi8(middle, none), _mm_unpackhi_epi8(first, none))};
}

// The value at a third byte of four holds the bits of the character above its last six, that at the fourth the low
// ones.
inline __m128i withSurrogates(__m128i values, __m128i isHigh, __m128i isLow) {
  const __m128i high = _mm_add_epi16(_mm_srli_epi16(values, 4), units(0xD7C0));
  const __m128i low = _mm_or_si128(_mm_and_si128(values, units(0x3FF)), units(0xDC00));
  const __m128i others = _mm_andnot_si128(_mm_or_si128(isHigh, isLow), values);
  return _mm_or_si128(others, _mm_or_si128(_mm_and_si128(isHigh, high), _mm_and_si128(isLow, low)));
}

inline Values_s valuesWithSurrogates(const Window_s& window) {
  const Values_s values = valuesOf(window);
  const __m128i isHigh = areLeadsOfFour(window.before2);
  const __m128i isLow = areLeadsOfFour(window.before3);
  return {withSurrogates(values.low, _mm_unpacklo_epi8(isHigh, isHigh), _mm_unpacklo_epi8(isLow, isLow)),
          withSurrogates(values.high, _mm_unpackhi_epi8(isHigh, isHigh), _mm_unpackhi_epi8(isLow, isLow))};
}

// Four characters of four bytes as four pairs of surrogates.
inline __m128i pairsOf(__m128i block) {
  const __m128i upper = _mm_or_si128(_mm_slli_epi32(_mm_and_si128(block, words(0x07)), 18),
                                     _mm_slli_epi32(_mm_and_si128(block, words(0x3F00)), 4));
  const __m128i lower = _mm_or_si128(_mm_and_si128(_mm_srli_epi32(block, 10), words(0xFC0)),
                                     _mm_and_si128(_mm_srli_epi32(block, 24), words(0x3F)));
  const __m128i values = _mm_or_si128(upper, lower);
  const __m128i high = _mm_add_epi32(_mm_srli_epi32(values, 10), words(0xD7C0));
  const __m128i low = _mm_or_si128(_mm_and_si128(values, words(0x3FF)), words(0xDC00));
  return _mm_or_si128(high, _mm_slli_epi32(low, 16));
}

inline bool isFourTimesFour(__m128i block) {
  const __m128i marks = _mm_and_si128(block, words(0xC0C0C0F8));
  return maskOf(_mm_cmpeq_epi32(marks, words(0x808080F0))) == allBytes;
}

// Where the values go to: eight at a place, whatever counts of them.
inline void storeEight(uint16_t* target, __m128i values) {
  storeBlock(target, values);
}

inline void storeEight(uint32_t* target, __m128i values) {
  storeBlock(target, _mm_unpacklo_epi16(values, _mm_setzero_si128()));
  storeBlock(target + 4, _mm_unpackhi_epi16(values, _mm_setzero_si128()));
}

// Eight units as they stand behind a result, to be put back when it has been written.
template <class Unit_t>
class Behind_c {
public:
  explicit Behind_c(Unit_t* place) : m_place(place) { std::memcpy(m_units.data(), place, sizeof m_units); }
  void putBack() const { std::memcpy(m_place, m_units.data(), sizeof m_units); }

private:
  Unit_t* m_place;
  std::array<Unit_t, 8> m_units;
};

constexpr std::size_t spareUnits = 8;

// Hands the values of a block to be written; gives how many.
template <class Unit_t>
__attribute__((always_inline)) inline std::size_t writeValues(const Values_s& values, uint32_t ends, Unit_t* target) {
  const uint32_t low = ends & 0xFF;
  const uint32_t high = ends >> 8;
  const std::size_t count = unitPacking.counts[low];
  storeEight(target, packUnits(values.low, low));
  storeEight(target + count, packUnits(values.high, high));
  return count + unitPacking.counts[high];
}

inline std::size_t countOf(uint32_t ends) {
  return std::size_t{unitPacking.counts[ends & 0xFF]} + unitPacking.counts[ends >> 8];
}

// Lets a result be written that leaves eight units of anything behind it, so that nothing of them is seen. False where
// there is no room.
template <class Unit_t, class Write_c>
__attribute__((always_inline)) inline bool writeExactly(Unit_t* target, std::size_t room, std::size_t size,
                                                        const Write_c& write) {
  if (room < size) {
    return false;
  }
  std::array<Unit_t, 2 * blockSize + 2 * spareUnits> result; // NOLINT: filled by the next lines
  const bool hasSpare = room - size >= spareUnits;
  Unit_t* place = hasSpare ? target : result.data();
  const Behind_c<Unit_t> behind(place + size);
  write(place);
  if (hasSpare) {
    behind.putBack();
  } else {
    copyExactly(target, place, size * sizeof(Unit_t));
  }
  return true;
}

// The whole of a text of at most 32 bytes without characters of four; gives how many units, 0 where that cannot be.
template <class Unit_t>
inline std::size_t takeShort(const uint8_t* text, std::size_t size, Unit_t* target, std::size_t room) {
  Follower_c<false> follower;
  if (size <= blockSize) {
    const Window_s window = windowOfAll(text, size);
    const uint32_t ends = follower.take(window, Task_s{(1U << size) - 1, 0, true});
    const std::size_t count = countOf(ends);
    const auto write = [&](Unit_t* place) { writeValues(valuesOf(window), ends, place); };
    return follower.isWellFormed() && writeExactly(target, room, count, write) ? count : 0;
  }
  const Window_s first = windowAtStart(loadBlock(text));
  const Window_s second = windowAt(text, size - blockSize, size);
  const uint32_t firstEnds = follower.take(first, Task_s{allBytes, 0, !isContinuation(text[blockSize])});
  const uint32_t secondEnds = follower.take(second, lastTask(size - blockSize));
  const std::size_t count = countOf(firstEnds) + countOf(secondEnds);
  const auto write = [&](Unit_t* place) {
    place += writeValues(valuesOf(first), firstEnds, place);
    writeValues(valuesOf(second), secondEnds, place);
  };
  return follower.isWellFormed() && writeExactly(target, room, count, write) ? count : 0;
}

constexpr std::size_t pieceSize = 256;

// What a piece of a text becomes in UTF-16. Behind the units that count there is room for those that do not.
struct Units_s {
  std::array<uint16_t, pieceSize + 2 * spareUnits> units;
  std::size_t size;
  bool isWellFormed;
  bool hasFour;
};

// A piece of at most pieceSize bytes, right or wrong.
template <bool WithFour>
__attribute__((noinline)) inline void convertPiece(const uint8_t* text, std::size_t begin, std::size_t end,
                                                   Units_s& result) {
  Follower_c<WithFour> follower;
  uint16_t* target = result.units.data();
  visitBlocks(
      text, begin, end, [&](const Window_s& window, const Task_s& task) __attribute__((always_inline)) {
        const uint32_t ends = follower.take(window, task);
        if (WithFour && task.fresh == allBytes && isFourTimesFour(window.block)) {
          storeBlock(target, pairsOf(window.block));
          target += 8;
          return;
        }
        target += writeValues(WithFour ? valuesWithSurrogates(window) : valuesOf(window), ends, target);
      });
  result.size = static_cast<std::size_t>(target - result.units.data());
  result.isWellFormed = follower.isWellFormed();
  result.hasFour = follower.hasFour();
}

// hasFour: whether characters of four bytes are likely; afterwards, whether there were any.
inline void convertPiece(const uint8_t* text, std::size_t begin, std::size_t end, bool& hasFour, Units_s& result) {
  if (!hasFour) {
    convertPiece<false>(text, begin, end, result);
  }
  if (hasFour || result.hasFour) {
    convertPiece<true>(text, begin, end, result);
  }
  hasFour = result.hasFour;
}

// Hands over what a piece has become, one character after the other; gives how many units that takes.
template <class Unit_t>
__attribute__((noinline)) inline std::size_t handOverSlowly(const Units_s& result, Unit_t* target) {
  const uint16_t* units = result.units.data();
  std::size_t written = 0;
  for (std::size_t place = 0; place < result.size;) {
    const Character_s character = readCharacter(units + place, units + result.size, strict);
    const std::size_t length = lengthIn(target, character.value);
    writeCharacter(target + written, character.value, length);
    written += length;
    place += character.length;
  }
  return written;
}

// The same, fast where there is room for spareUnits more.
template <class Unit_t>
inline std::size_t handOver(const Units_s& result, Unit_t* target, std::size_t room) {
  if (room - result.size < spareUnits || (sizeof(Unit_t) == sizeof(uint32_t) && result.hasFour)) {
    return handOverSlowly(result, target);
  }
  const Behind_c<Unit_t> behind(target + result.size);
  for (std::size_t place = 0; place < result.size; place += 8) {
    storeEight(target + place, loadBlock(result.units.data() + place));
  }
  behind.putBack();
  return result.size;
}

// The last place up to a limit where a character begins.
inline std::size_t startBefore(const uint8_t* text, std::size_t begin, std::size_t limit) {
  while (limit > begin && isContinuation(text[limit])) {
    --limit;
  }
  return limit;
}

inline std::size_t endOfPiece(const uint8_t* text, std::size_t begin, std::size_t size, std::size_t longest) {
  return size - begin <= longest ? size : startBefore(text, begin, begin + longest);
}

// ASCII, block by block, in texts where it pays to look for it; gives how many bytes.
template <class Unit_t>
inline std::size_t takeAscii(const uint8_t* text, std::size_t size, Unit_t* target, std::size_t room) {
  const std::size_t limit = std::min(size, room);
  std::size_t place = 0;
  for (; limit - place >= 4 * blockSize; place += blockSize) {
    const __m128i block = loadBlock(text + place);
    if (maskOf(block) != 0) {
      break;
    }
    storeEight(target + place, _mm_unpacklo_epi8(block, _mm_setzero_si128()));
    storeEight(target + place + 8, _mm_unpackhi_epi8(block, _mm_setzero_si128()));
  }
  return place;
}

template <class Unit_t>
__attribute__((noinline)) inline void takePieces(const uint8_t** source, const uint8_t* sourceEnd, Unit_t** target,
                                                 Unit_t* targetEnd) {
  const uint8_t* text = *source;
  const std::size_t size = unitsBetween(text, sourceEnd);
  std::size_t place = 0;
  bool hasFour = false;
  while (place < size) {
    const std::size_t ascii = takeAscii(text + place, size - place, *target, unitsBetween<Unit_t>(*target, targetEnd));
    place += ascii;
    *target += ascii;
    const std::size_t end = endOfPiece(text, place, size, pieceSize);
    Units_s result; // NOLINT: filled by the next line
    convertPiece(text, place, end, hasFour, result);
    const std::size_t room = unitsBetween<Unit_t>(*target, targetEnd);
    if (end == place || !result.isWellFormed || room < result.size) {
      break;
    }
    *target += handOver(result, *target, room);
    place = end;
  }
  *source = text + place;
}

// Converts UTF-8 while there are well-formed pieces and room for them.
template <class Unit_t>
inline void takeFast(const uint8_t** source, const uint8_t* sourceEnd, Unit_t** target, Unit_t* targetEnd) {
  const std::size_t size = unitsBetween(*source, sourceEnd);
  if (size - 1 < 2 * blockSize) {
    const std::size_t written = takeShort(*source, size, *target, unitsBetween<Unit_t>(*target, targetEnd));
    if (written > 0) {
      *source = sourceEnd;
      *target += written;
      return;
    }
  }
  takePieces(source, sourceEnd, target, targetEnd);
}

inline bool isAsciiFourTimes(const uint8_t* text) {
  const __m128i first = _mm_or_si128(loadBlock(text), loadBlock(text + 16));
  const __m128i second = _mm_or_si128(loadBlock(text + 32), loadBlock(text + 48));
  return maskOf(_mm_or_si128(first, second)) == 0;
}

template <bool WithFour>
inline Follower_c<WithFour> followPiece(const uint8_t* text, std::size_t begin, std::size_t end) {
  Follower_c<WithFour> follower;
  visitBlocks(text, begin, end, [&](const Window_s& window, const Task_s& task) { follower.take(window, task); });
  return follower;
}

inline bool isWellFormedPiece(const uint8_t* text, std::size_t begin, std::size_t end, bool& hasFour) {
  if (!hasFour) {
    const Follower_c<false> follower = followPiece<false>(text, begin, end);
    if (!follower.hasFour()) {
      return follower.isWellFormed();
    }
  }
  const Follower_c<true> follower = followPiece<true>(text, begin, end);
  hasFour = follower.hasFour();
  return follower.isWellFormed();
}

// Whether a text is well-formed in every respect; one that is not may still pass the rules of UtfSimple.h.
inline bool isWellFormedText(const uint8_t* text, std::size_t size) {
  constexpr std::size_t longest = 4096;
  std::size_t place = 0;
  bool hasFour = false;
  while (place < size) {
    while (size - place >= 4 * blockSize && isAsciiFourTimes(text + place)) {
      place += 4 * blockSize;
    }
    if (place == size) {
      return true;
    }
    const std::size_t end = endOfPiece(text, place, size, longest);
    if (end == place || !isWellFormedPiece(text, place, end, hasFour)) {
      return false;
    }
    place = end;
  }
  return true;
}

} // namespace Utf

#endif
