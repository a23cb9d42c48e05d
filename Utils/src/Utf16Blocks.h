// Well-formed UTF-16 on the fast way, turned into UTF-8.
//
// Each unit becomes a word with its one to three bytes, and the bytes that count are moved together. Pairs of
// surrogates are taken four at a time, or one by one.
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

// Values below U+10000 in words of 32 bits, surrogates aside.
__attribute__((always_inline)) inline Packed_s packFour(__m128i values) {
  const __m128i isMany = _mm_cmpgt_epi32(values, words(0x7F));
  const __m128i isThree = _mm_cmpgt_epi32(values, words(0x7FF));
  const __m128i first = _mm_srli_epi32(values, 12);
  const __m128i middle = _mm_and_si128(_mm_slli_epi32(values, 2), words(0x3F00));
  const __m128i last = _mm_and_si128(_mm_slli_epi32(values, 16), words(0x3F0000));
  const __m128i marks = _mm_xor_si128(words(0x80C000), _mm_and_si128(isThree, words(0x80C000 ^ 0x8080E0)));
  const __m128i many = _mm_or_si128(_mm_or_si128(first, middle), _mm_or_si128(last, marks));
  const __m128i one = _mm_slli_epi32(values, 16);
  const __m128i characters = _mm_or_si128(_mm_and_si128(isMany, many), _mm_andnot_si128(isMany, one));
  const int mask = _mm_movemask_ps(_mm_castsi128_ps(isMany)) | _mm_movemask_ps(_mm_castsi128_ps(isThree)) << 4;
  const auto& order = bytePacking.orders[bytePacking.numbers[static_cast<std::size_t>(mask)]];
  return {shuffle(characters, loadBlock(order.data())), order.back()};
}

// The bytes of eight units without surrogates, in two halves. The last units may be zeros that do not count.
struct Bytes_s {
  Packed_s low;
  Packed_s high;

  std::size_t count() const { return low.count + high.count; }

  // Writes 16 bytes from where each half begins.
  void write(uint8_t* target) const {
    storeBlock(target, low.bytes);
    storeBlock(target + low.count, high.bytes);
  }
};

__attribute__((always_inline)) inline Bytes_s bytesOf(__m128i block) {
  return {packFour(_mm_unpacklo_epi16(block, _mm_setzero_si128())),
          packFour(_mm_unpackhi_epi16(block, _mm_setzero_si128()))};
}

inline __m128i surrogatesOf(__m128i block) {
  return _mm_cmpeq_epi16(_mm_and_si128(block, units(0xF800)), units(0xD800));
}

// Up to eight units, with zeros behind them.
inline __m128i loadUnits(const uint16_t* text, std::size_t size) {
  return size == unitsOfBlock ? loadBlock(text) : loadPart(reinterpret_cast<const uint8_t*>(text), 2 * size);
}

// The last units, up to eight, of a text of eight at least.
inline __m128i loadLastUnits(const uint16_t* end, std::size_t size) {
  return moveToFront(loadBlock(end - unitsOfBlock), 2 * (unitsOfBlock - size));
}

// Units up to the first surrogate.
inline std::size_t unitsBeforeSurrogate(const uint16_t* text, std::size_t size) {
  std::size_t place = 0;
  while (place < size && !isSurrogate(load(text + place))) {
    ++place;
  }
  return place;
}

constexpr std::size_t spareBytes = 2 * blockSize;
constexpr std::size_t longestRun = 256;

// Lets a result be written that leaves 32 bytes of anything behind it, so that nothing of them is seen. False where
// there is no room.
template <class Write_c>
__attribute__((always_inline)) inline bool writeExactly(uint8_t* target, std::size_t room, std::size_t size,
                                                        const Write_c& write) {
  if (room < size) {
    return false;
  }
  std::array<uint8_t, 3 * 2 * unitsOfBlock + 2 * spareBytes> result; // NOLINT: filled by the next lines
  const bool hasSpare = room - size >= spareBytes;
  uint8_t* place = hasSpare ? target : result.data();
  const __m128i behind = loadBlock(place + size);
  const __m128i farBehind = loadBlock(place + size + blockSize);
  write(place);
  if (hasSpare) {
    storeBlock(place + size, behind);
    storeBlock(place + size + blockSize, farBehind);
  } else {
    copyExactly(target, place, size);
  }
  return true;
}

// The whole of a text of at most 16 units without surrogates; gives how many bytes, 0 where that cannot be.
inline std::size_t takeShort(const uint16_t* text, std::size_t size, uint8_t* target, std::size_t room) {
  if (size <= unitsOfBlock) {
    const __m128i block = loadUnits(text, size);
    const Bytes_s result = bytesOf(block);
    const std::size_t count = result.count() - (unitsOfBlock - size);
    const auto write = [&](uint8_t* place) { result.write(place); };
    return maskOf(surrogatesOf(block)) == 0 && writeExactly(target, room, count, write) ? count : 0;
  }
  const __m128i first = loadBlock(text);
  const __m128i second = loadLastUnits(text + size, size - unitsOfBlock);
  const Bytes_s firstResult = bytesOf(first);
  const Bytes_s secondResult = bytesOf(second);
  const std::size_t count = firstResult.count() + secondResult.count() - (2 * unitsOfBlock - size);
  const auto write = [&](uint8_t* place) {
    firstResult.write(place);
    secondResult.write(place + firstResult.count());
  };
  const bool hasSurrogates = maskOf(_mm_or_si128(surrogatesOf(first), surrogatesOf(second))) != 0;
  return !hasSurrogates && writeExactly(target, room, count, write) ? count : 0;
}

// What has been converted: units of the source, and where the result ends.
struct Converted_s {
  std::size_t units;
  uint8_t* end;
};

// Converts units up to the first surrogate where nobody cares about what stands behind the result.
//
//   Takes    target: room for three bytes for each unit and spareBytes
__attribute__((noinline)) inline Converted_s convertUnits(const uint16_t* text, std::size_t size, uint8_t* target) {
  std::size_t place = 0;
  for (; place < size; place += unitsOfBlock) {
    std::size_t left = size - place;
    __m128i block;
    if (left >= unitsOfBlock) {
      block = loadBlock(text + place);
    } else {
      block = size < unitsOfBlock ? loadUnits(text, size) : loadLastUnits(text + size, left);
    }
    if (maskOf(surrogatesOf(block)) != 0) {
      left = unitsBeforeSurrogate(text + place, left);
      if (left == 0) {
        break;
      }
      block = loadUnits(text + place, left);
    }
    const Bytes_s result = bytesOf(block);
    result.write(target);
    target += result.count();
    if (left < unitsOfBlock) {
      // The zeros behind the last units have become a byte each.
      return {place + left, target - (unitsOfBlock - left)};
    }
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

// Where a conversion stands.
struct Cursors_s {
  const uint16_t* source;
  const uint16_t* sourceEnd;
  uint8_t* target;
  uint8_t* targetEnd;

  std::size_t size() const { return unitsBetween(source, sourceEnd); }
  std::size_t room() const { return unitsBetween<uint8_t>(target, targetEnd); }
  void advance(std::size_t taken, std::size_t written) {
    source += taken;
    target += written;
  }
};

// ASCII, block by block, in texts where it pays to look for it.
inline void takeAscii(Cursors_s& cursors) {
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

// Pairs of surrogates, as many as there are in a row.
inline void takePairs(Cursors_s& cursors) {
  while (cursors.size() >= unitsOfBlock && cursors.room() >= blockSize) {
    const __m128i block = loadBlock(cursors.source);
    if (!isFourPairs(block)) {
      break;
    }
    storeBlock(cursors.target, charactersOf(block));
    cursors.advance(unitsOfBlock, blockSize);
  }
  while (cursors.size() >= 2 && cursors.room() >= 4 && isHighSurrogate(load(cursors.source)) &&
         isLowSurrogate(load(cursors.source + 1))) {
    const Character_s pair = readCharacter(cursors.source, cursors.sourceEnd, strict);
    writeCharacter(cursors.target, pair.value, 4);
    cursors.advance(2, 4);
  }
}

// Units up to the next surrogate. False where there is no room for them.
inline bool takeRun(Cursors_s& cursors) {
  std::array<uint8_t, 3 * longestRun + spareBytes> result; // NOLINT: filled by the next line
  const Converted_s converted = convertUnits(cursors.source, std::min(cursors.size(), longestRun), result.data());
  const std::size_t bytes = unitsBetween<uint8_t>(result.data(), converted.end);
  if (cursors.room() < bytes) {
    return false;
  }
  copyExactly(cursors.target, result.data(), bytes);
  cursors.advance(converted.units, bytes);
  return true;
}

__attribute__((noinline)) inline void takeRuns(const uint16_t** source, const uint16_t* sourceEnd, uint8_t** target,
                                               uint8_t* targetEnd) {
  Cursors_s cursors = {*source, sourceEnd, *target, targetEnd};
  std::size_t before = 0;
  for (std::size_t left = cursors.size(); left > 0 && left != before; left = cursors.size()) {
    before = left;
    takeAscii(cursors);
    if (takeRun(cursors)) {
      takePairs(cursors);
    }
  }
  *source = cursors.source;
  *target = cursors.target;
}

// Converts UTF-16 while there are well-formed characters and room for them.
inline void takeFast(const uint16_t** source, const uint16_t* sourceEnd, uint8_t** target, uint8_t* targetEnd) {
  const std::size_t size = unitsBetween(*source, sourceEnd);
  if (size - 1 < 2 * unitsOfBlock) {
    const std::size_t written = takeShort(*source, size, *target, unitsBetween<uint8_t>(*target, targetEnd));
    if (written > 0) {
      *source = sourceEnd;
      *target += written;
      return;
    }
  }
  takeRuns(source, sourceEnd, target, targetEnd);
}

} // namespace Utf

#endif
