// Well-formed UTF-16 on the fast way, turned into UTF-8.
//
// Each unit becomes a word with its one to three bytes, and the bytes that count are moved together. Pairs of
// surrogates are taken where four of them stand together.
#pragma once

#include "UtfBlocks.h"

#if defined(ZEMO_UTF_BLOCKS)

namespace Utf {

constexpr std::size_t unitsOfBlock = 8;

// The bytes of four characters of one to three bytes.
struct Packed_s {
  __m128i bytes;
  std::size_t count;
};

inline std::size_t wordsOf(__m128i flags) {
  return static_cast<std::size_t>(_mm_movemask_ps(_mm_castsi128_ps(flags)));
}

// Values below U+10000 in words of 32 bits, surrogates aside.
__attribute__((always_inline)) inline Packed_s packFour(__m128i values) {
  const __m128i areMany = _mm_cmpgt_epi32(values, words(0x7F));
  const __m128i areThree = _mm_cmpgt_epi32(values, words(0x7FF));
  const __m128i first = _mm_srli_epi32(values, 12);
  const __m128i middle = _mm_and_si128(_mm_slli_epi32(values, 2), words(0x3F00));
  const __m128i last = _mm_and_si128(_mm_slli_epi32(values, 16), words(0x3F0000));
  const __m128i three = _mm_or_si128(_mm_or_si128(first, middle), _mm_or_si128(last, words(0x8080E0)));
  const __m128i two = _mm_or_si128(_mm_srli_epi32(_mm_or_si128(middle, last), 8), words(0x80C0));
  const __m128i many = _mm_or_si128(_mm_and_si128(areThree, three), _mm_andnot_si128(areThree, two));
  const __m128i characters = _mm_or_si128(_mm_and_si128(areMany, many), _mm_andnot_si128(areMany, values));
  const std::size_t wordsOfMany = wordsOf(areMany);
  const std::size_t wordsOfThree = wordsOf(areThree);
  const std::size_t number = std::size_t{bytePacking.numbers[wordsOfMany]} + bytePacking.numbers[wordsOfThree];
  const std::size_t more = std::size_t{bytePacking.counts[wordsOfMany]} + bytePacking.counts[wordsOfThree];
  return {shuffle(characters, loadBlock(bytePacking.orders[number].data())), 4 + more};
}

// The bytes of eight units without surrogates, in two halves. The last units may be zeros that do not count.
struct Bytes_s {
  Packed_s low;
  Packed_s high;
};

__attribute__((always_inline)) inline Bytes_s bytesOf(__m128i block) {
  return {packFour(_mm_unpacklo_epi16(block, _mm_setzero_si128())),
          packFour(_mm_unpackhi_epi16(block, _mm_setzero_si128()))};
}

// A mask for the first units of a block.
inline __m128i onlyFirst(std::size_t count) {
  return loadBlock(firstBytes.data() + blockSize - 2 * count);
}

// The first units of a block, up to eight, with zeros behind them.
inline __m128i loadFirst(const uint16_t* text, std::size_t size, std::size_t count) {
  const auto* place = reinterpret_cast<const uint8_t*>(text);
  if (size < unitsOfBlock) {
    return loadPart(place, 2 * count);
  }
  return _mm_and_si128(loadBlock(text), onlyFirst(count));
}

inline uint32_t surrogatesIn(__m128i block) {
  return maskOf(_mm_cmpeq_epi16(_mm_and_si128(block, units(0xF800)), units(0xD800)));
}

// What has been converted: units of the source, and where the result ends.
struct Converted_s {
  std::size_t size;
  uint8_t* end;
};

// Writes the bytes of a block: 16 for the low half, 12 for the high one.
inline void writeBytes(const Bytes_s& bytes, uint8_t* target) {
  uint8_t* high = target + bytes.low.count;
  storeBlock(target, bytes.low.bytes);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(high), bytes.high.bytes);
  const int last = _mm_cvtsi128_si32(_mm_srli_si128(bytes.high.bytes, 8));
  std::memcpy(high + 8, &last, sizeof last);
}

// Converts units up to a surrogate.
//
// Only the first block and the last one may be short. A whole one becomes eight bytes at least and writes at most eight
// more, which the next whole one covers. What stood behind a block is put back where no whole one follows.
//
//   Takes    target: room for three bytes for each unit and spareBytes
__attribute__((always_inline)) inline Converted_s convertBlocks(const uint16_t* text, std::size_t size,
                                                                uint8_t* target) {
  std::size_t count = (size - 1) % unitsOfBlock + 1;
  __m128i block = loadFirst(text, size, count);
  __m128i behind = loadBlock(target);
  std::size_t place = 0;
  for (;;) {
    const uint32_t surrogates = surrogatesIn(block);
    if (surrogates != 0) {
      count = static_cast<std::size_t>(__builtin_ctz(surrogates)) / sizeof *text;
      block = _mm_and_si128(block, onlyFirst(count));
      size = place + count;
      storeBlock(target, behind);
      if (count == 0) {
        break;
      }
    }
    const Bytes_s bytes = bytesOf(block);
    // The zeros behind the last units become a byte each.
    uint8_t* end = target + bytes.low.count + bytes.high.count - (unitsOfBlock - count);
    behind = loadBlock(end);
    writeBytes(bytes, target);
    target = end;
    place += count;
    if (place == size || count < unitsOfBlock) {
      storeBlock(target, behind);
    }
    if (place == size) {
      break;
    }
    count = unitsOfBlock;
    block = loadBlock(text + place);
  }
  return {place, target};
}

// Four pairs of surrogates as four characters of four bytes.
inline __m128i charactersOf(__m128i pairs) {
  const __m128i high = _mm_slli_epi32(_mm_and_si128(pairs, words(0x3FF)), 10);
  const __m128i low = _mm_and_si128(_mm_srli_epi32(pairs, 16), words(0x3FF));
  const __m128i values = _mm_add_epi32(_mm_or_si128(high, low), words(0x10000));
  const __m128i first = _mm_srli_epi32(values, 18);
  const __m128i second = _mm_and_si128(_mm_srli_epi32(values, 4), words(0x3F00));
  const __m128i third = _mm_and_si128(_mm_slli_epi32(values, 10), words(0x3F0000));
  const __m128i fourth = _mm_and_si128(_mm_slli_epi32(values, 24), words(0x3F000000));
  return _mm_or_si128(_mm_or_si128(first, second), _mm_or_si128(_mm_or_si128(third, fourth), words(0x808080F0)));
}

inline bool isFourPairs(__m128i block) {
  return maskOf(_mm_cmpeq_epi32(_mm_and_si128(block, words(0xFC00FC00)), words(0xDC00D800))) == 0xFFFF;
}

// ASCII, two blocks at once, in texts where it pays to look for it.
inline void takeAscii(Cursors_s<uint16_t>& cursors) {
  while (std::min(cursors.size(), cursors.room()) >= 4 * blockSize) {
    const __m128i low = loadBlock(cursors.source);
    const __m128i high = loadBlock(cursors.source + unitsOfBlock);
    const __m128i beyond = _mm_and_si128(_mm_or_si128(low, high), units(0xFF80));
    if (maskOf(_mm_cmpeq_epi16(beyond, _mm_setzero_si128())) != 0xFFFF) {
      return;
    }
    storeBlock(cursors.target, _mm_packus_epi16(low, high));
    cursors.advance(blockSize, blockSize);
  }
}

// Pairs of surrogates, four at a time.
inline void takePairs(Cursors_s<uint16_t>& cursors) {
  while (cursors.size() >= unitsOfBlock && cursors.room() >= blockSize) {
    const __m128i block = loadBlock(cursors.source);
    if (!isFourPairs(block)) {
      return;
    }
    storeBlock(cursors.target, charactersOf(block));
    cursors.advance(unitsOfBlock, blockSize);
  }
}

// Takes what follows a piece: surrogates, or ASCII.
__attribute__((noinline)) static Cursors_s<uint16_t> takeOthers(Cursors_s<uint16_t> cursors) {
  const uint16_t* before = nullptr;
  while (cursors.source != before && cursors.size() > 0 && isSurrogate(loadWord<uint16_t>(cursors.source))) {
    before = cursors.source;
    takePairs(cursors);
    takeOne(cursors, sizeof(uint8_t));
  }
  takeAscii(cursors);
  return cursors;
}

// Converts a piece up to a surrogate, if there is room for it. Where there may not be room enough for more than the
// result, it is made beside the target.
__attribute__((always_inline)) inline bool takePiece(Cursors_s<uint16_t>& cursors) {
  const std::size_t size = std::min(cursors.size(), pieceSize);
  const std::size_t room = cursors.room();
  std::array<uint8_t, 3 * pieceSize + spareBytes> beside; // NOLINT: filled by the next lines
  const bool isAmple = room >= 3 * size + spareBytes;
  uint8_t* target = isAmple ? cursors.target : beside.data();
  const Converted_s converted = convertBlocks(cursors.source, size, target);
  const auto written = static_cast<std::size_t>(converted.end - target);
  if (room < written) {
    return false;
  }
  if (!isAmple) {
    std::memcpy(cursors.target, target, written);
  }
  cursors.advance(converted.size, written);
  return true;
}

// Converts UTF-16 while there are well-formed characters and room for them.
__attribute__((always_inline)) inline Cursors_s<uint16_t> takeFast(Cursors_s<uint16_t> cursors) {
  const uint16_t* begin = nullptr;
  while (cursors.source != begin && cursors.size() > 0) {
    begin = cursors.source;
    if (!takePiece(cursors)) {
      break;
    }
    if (cursors.source != cursors.sourceEnd) {
      cursors = takeOthers(cursors);
    }
  }
  return cursors;
}

} // namespace Utf

#endif
