// Well-formed UTF-8 on the fast way: checked, and turned into UTF-16 or UTF-32.
//
// Each byte that ends a character is given the character's value, by the two bytes before it; then the values at those
// bytes are moved together. Characters of four bytes are taken where four of them stand together.
#pragma once

#include "UtfBlocks.h"

#if defined(ZEMO_UTF_BLOCKS)

namespace Utf {

constexpr uint32_t allBytes = 0xFFFF;

inline __m128i continuationsOf(__m128i block) {
  return _mm_cmplt_epi8(block, bytes(0xC0));
}

// Which bytes a block is not taken with: those that cannot follow the byte before them (after C0 and C1 none, after E0
// those below A0, after ED those from A0), and the leads of four bytes.
inline __m128i strangersOf(__m128i block, __m128i before1) {
  const __m128i fromA0 = _mm_cmpgt_epi8(block, bytes(0x9F));
  const __m128i never = _mm_cmpeq_epi8(_mm_and_si128(before1, bytes(0xFE)), bytes(0xC0));
  const __m128i tooSmall = _mm_andnot_si128(fromA0, _mm_cmpeq_epi8(before1, bytes(0xE0)));
  const __m128i tooLarge = _mm_and_si128(fromA0, _mm_cmpeq_epi8(before1, bytes(0xED)));
  const __m128i ofFour = _mm_cmpeq_epi8(_mm_max_epu8(block, bytes(0xF0)), block);
  return _mm_or_si128(_mm_or_si128(never, ofFour), _mm_or_si128(tooSmall, tooLarge));
}

// How much of a text is right in front of a byte that is not, up to the character that ends there; one that goes on
// there is not right.
__attribute__((noinline)) static std::size_t sizeBefore(const uint8_t* text, std::size_t wrong) {
  std::size_t place = wrong;
  while (place > 0 && isContinuation(text[place - 1])) {
    --place;
  }
  if (place == 0) {
    return 0;
  }
  const std::size_t end = place + trailingBytes(text[place - 1]);
  return end == wrong ? wrong : place - 1;
}

inline std::size_t firstOf(uint32_t flags) {
  return static_cast<std::size_t>(__builtin_ctz(flags));
}

constexpr uint32_t firstBits(std::size_t count) {
  return (1U << count) - 1;
}

inline std::size_t sumOf(__m128i counts) {
  const __m128i sums = _mm_sad_epu8(counts, _mm_setzero_si128());
  const int sum = _mm_cvtsi128_si32(sums) + _mm_cvtsi128_si32(_mm_srli_si128(sums, 8));
  return static_cast<std::size_t>(sum);
}

// The beginning of a text that is well-formed: its bytes, and its characters.
struct Run_s {
  std::size_t size;
  std::size_t characters;
};

// The characters of one to three bytes that a text of at most 4080 bytes begins with.
__attribute__((noinline)) static Run_s runAt(const uint8_t* text, std::size_t size) {
  __m128i block = _mm_setzero_si128();
  __m128i counts = _mm_setzero_si128();
  uint32_t expected = 0; // continuations, one bit each; the upper half is for the next block
  for (std::size_t place = 0; place < size; place += blockSize) {
    const __m128i before = block;
    block = loadNext(text, size, place);
    const __m128i areContinuations = continuationsOf(block);
    const uint32_t continuations = maskOf(areContinuations);
    const uint32_t leads = maskOf(block) & ~continuations;
    const uint32_t leadsOfThree = maskOf(_mm_cmpgt_epi8(block, bytes(0xDF))) & leads; // or of more
    expected = expected >> blockSize | leads << 1 | leadsOfThree << 2;
    const uint32_t strangers = maskOf(strangersOf(block, movedOn<1>(block, before)));
    const uint32_t wrong = ((expected & allBytes) ^ continuations) | strangers;
    if (wrong != 0) {
      const std::size_t end = sizeBefore(text, place + firstOf(wrong));
      const std::size_t starts = place - sumOf(counts);
      if (end < place) {
        return {end, starts - 1};
      }
      const uint32_t more = ~continuations & firstBits(end - place);
      return {end, starts + countOf(more & 0xFF) + countOf(more >> 8)};
    }
    counts = _mm_sub_epi8(counts, areContinuations);
  }
  const std::size_t starts = size - sumOf(counts);
  return expected >> blockSize == 0 ? Run_s{size, starts} : Run_s{sizeBefore(text, size), starts - 1};
}

// The values at the bytes of a block, in two halves.
struct Values_s {
  __m128i low;
  __m128i high;
};

inline __m128i join(__m128i last, __m128i middle, __m128i first) {
  return _mm_or_si128(_mm_or_si128(last, _mm_slli_epi16(middle, 6)), _mm_slli_epi16(first, 12));
}

inline Values_s valuesOf(__m128i block, __m128i before1, __m128i before2) {
  const __m128i none = _mm_setzero_si128();
  const __m128i continuations = continuationsOf(block);
  const __m128i last = _mm_andnot_si128(_mm_and_si128(continuations, bytes(0xC0)), block);
  const __m128i middle = _mm_and_si128(_mm_and_si128(before1, bytes(0x3F)), continuations);
  const __m128i first = _mm_and_si128(_mm_and_si128(before2, continuationsOf(before1)), continuations);
  return {join(_mm_unpacklo_epi8(last, none), _mm_unpacklo_epi8(middle, none), _mm_unpacklo_epi8(first, none)),
          join(_mm_unpackhi_epi8(last, none), _mm_unpackhi_epi8(middle, none), _mm_unpackhi_epi8(first, none))};
}

// What the values become: units of two or of four bytes, as a power of two.
enum Unit_e { utf16 = 1, utf32 = 2 };

// Writes eight values, whatever counts of them.
inline void storeEight(uint8_t* target, __m128i values, Unit_e unit) {
  if (unit == utf16) {
    storeBlock(target, values);
    return;
  }
  storeBlock(target, _mm_unpacklo_epi16(values, _mm_setzero_si128()));
  storeBlock(target + blockSize, _mm_unpackhi_epi16(values, _mm_setzero_si128()));
}

// Writes what a run becomes, and eight units of anything behind it.
__attribute__((always_inline)) inline void writeRun(const uint8_t* text, std::size_t size, uint8_t* target,
                                                    Unit_e unit) {
  __m128i block = _mm_setzero_si128();
  for (std::size_t place = 0; place < size; place += blockSize) {
    const __m128i before = block;
    block = loadNext(text, size, place);
    const std::size_t left = size - place;
    const uint32_t starts = ~maskOf(continuationsOf(block)) & allBytes;
    const bool isNextStart = left <= blockSize || !isContinuation(text[place + blockSize]);
    uint32_t ends = starts >> 1 | uint32_t{isNextStart} << (blockSize - 1);
    if (left < blockSize) {
      ends &= firstBits(left);
    }
    const Values_s values = valuesOf(block, movedOn<1>(block, before), movedOn<2>(block, before));
    storeEight(target, packUnits(values.low, ends & 0xFF), unit);
    target += countOf(ends & 0xFF) << unit;
    storeEight(target, packUnits(values.high, ends >> 8), unit);
    target += countOf(ends >> 8) << unit;
  }
}

// ASCII, block by block, in texts where it pays to look for it.
inline void takeAscii(Cursors_s<uint8_t>& cursors, Unit_e unit) {
  while (std::min(cursors.size(), cursors.room() >> unit) >= 4 * blockSize) {
    const __m128i block = loadBlock(cursors.source);
    if (maskOf(block) != 0) {
      return;
    }
    storeEight(cursors.target, _mm_unpacklo_epi8(block, _mm_setzero_si128()), unit);
    storeEight(cursors.target + (8 << unit), _mm_unpackhi_epi8(block, _mm_setzero_si128()), unit);
    cursors.advance(blockSize, blockSize << unit);
  }
}

// Four characters of four bytes each, as values; whether they are that and well-formed.
struct Fours_s {
  __m128i values;
  bool isRight;
};

__attribute__((noinline)) static Fours_s foursOf(__m128i block) {
  const __m128i marks = _mm_cmpeq_epi32(_mm_and_si128(block, words(0xC0C0C0F8)), words(0x808080F0));
  const __m128i upper = _mm_or_si128(_mm_slli_epi32(_mm_and_si128(block, words(0x07)), 18),
                                     _mm_slli_epi32(_mm_and_si128(block, words(0x3F00)), 4));
  const __m128i lower = _mm_or_si128(_mm_and_si128(_mm_srli_epi32(block, 10), words(0xFC0)),
                                     _mm_and_si128(_mm_srli_epi32(block, 24), words(0x3F)));
  const __m128i values = _mm_or_si128(upper, lower);
  const __m128i beyond = _mm_srli_epi32(_mm_sub_epi32(values, words(0x10000)), 20);
  const __m128i areInRange = _mm_cmpeq_epi32(beyond, _mm_setzero_si128());
  return {values, maskOf(_mm_and_si128(marks, areInRange)) == allBytes};
}

inline __m128i surrogatesOf(__m128i values) {
  const __m128i high = _mm_add_epi32(_mm_srli_epi32(values, 10), words(0xD7C0));
  const __m128i low = _mm_or_si128(_mm_and_si128(values, words(0x3FF)), words(0xDC00));
  return _mm_or_si128(high, _mm_slli_epi32(low, 16));
}

constexpr uint8_t firstLeadOfFour = 0xF0;

// Characters of four bytes, one by one where they are fewer than four. Four bytes each in either unit.
inline void takeFours(Cursors_s<uint8_t>& cursors, Unit_e unit) {
  while (std::min(cursors.size(), cursors.room()) >= blockSize) {
    const Fours_s fours = foursOf(loadBlock(cursors.source));
    if (!fours.isRight) {
      break;
    }
    storeBlock(cursors.target, unit == utf16 ? surrogatesOf(fours.values) : fours.values);
    cursors.advance(blockSize, blockSize);
  }
  const uint8_t* before = nullptr;
  while (cursors.source != before && cursors.size() > 0 && *cursors.source >= firstLeadOfFour) {
    before = cursors.source;
    takeOne(cursors, std::size_t{1} << unit);
  }
}

// The beginning of a text, not longer than that; it ends between characters if the text is right.
inline std::size_t sizeOfPiece(const uint8_t* text, std::size_t size, std::size_t longest) {
  if (size <= longest) {
    return size;
  }
  while (longest > 0 && isContinuation(text[longest])) {
    --longest;
  }
  return longest;
}

// Writes what a run becomes, if there is room for it. What stands behind the result is put back; where that is not the
// target's, the result is made beside it.
__attribute__((always_inline)) inline bool takeRun(Cursors_s<uint8_t>& cursors, const Run_s& run, Unit_e unit) {
  const std::size_t written = run.characters << unit;
  const std::size_t room = cursors.room();
  if (room < written) {
    return false;
  }
  std::array<uint8_t, (pieceSize << utf32) + spareBytes> beside; // NOLINT: filled by the next lines
  const bool hasSpare = room - written >= spareBytes;
  uint8_t* target = hasSpare ? cursors.target : beside.data();
  const __m128i behind = loadBlock(target + written);
  const __m128i farBehind = loadBlock(target + written + blockSize);
  writeRun(cursors.source, run.size, target, unit);
  storeBlock(target + written, behind);
  storeBlock(target + written + blockSize, farBehind);
  if (!hasSpare) {
    std::memcpy(cursors.target, target, written);
  }
  cursors.advance(run.size, written);
  return true;
}

// Takes what follows a run, or is none.
//
//   Takes    begin: where the run began
__attribute__((noinline)) static Cursors_s<uint8_t> takeOthers(Cursors_s<uint8_t> cursors, const uint8_t* begin,
                                                               Unit_e unit) {
  takeFours(cursors, unit);
  takeAscii(cursors, unit);
  if (cursors.source == begin) {
    takeOne(cursors, std::size_t{1} << unit);
  }
  return cursors;
}

// Converts UTF-8 while there are well-formed characters and room for them.
__attribute__((always_inline)) inline Cursors_s<uint8_t> takeFast(Cursors_s<uint8_t> cursors, Unit_e unit) {
  const uint8_t* begin = nullptr;
  while (cursors.source != begin && cursors.size() > 0) {
    begin = cursors.source;
    const Run_s run = runAt(begin, sizeOfPiece(begin, cursors.size(), pieceSize));
    if (!takeRun(cursors, run, unit)) {
      break;
    }
    if (cursors.source != cursors.sourceEnd) {
      cursors = takeOthers(cursors, begin, unit);
    }
  }
  return cursors;
}

inline bool isAsciiFourTimes(const uint8_t* text) {
  const __m128i first = _mm_or_si128(loadBlock(text), loadBlock(text + 16));
  const __m128i second = _mm_or_si128(loadBlock(text + 32), loadBlock(text + 48));
  return maskOf(_mm_or_si128(first, second)) == 0;
}

// The place up to which a text is well-formed, as far as blocks tell; there may be more that is.
inline const uint8_t* skipFast(const uint8_t* text, const uint8_t* textEnd) {
  constexpr std::size_t longest = 2048;
  const uint8_t* begin = nullptr;
  while (text != begin && text < textEnd) {
    begin = text;
    while (unitsBetween(text, textEnd) >= 4 * blockSize && isAsciiFourTimes(text)) {
      text += 4 * blockSize;
    }
    text += runAt(text, sizeOfPiece(text, unitsBetween(text, textEnd), longest)).size;
    while (unitsBetween(text, textEnd) >= blockSize && foursOf(loadBlock(text)).isRight) {
      text += blockSize;
    }
  }
  return text;
}

} // namespace Utf

#endif
