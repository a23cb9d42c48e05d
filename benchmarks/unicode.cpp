// What Unicode text costs: labels, one call each, in an order that no branch predictor knows, and bulk of 1 MiB. The
// peers are ICU, iconv of the C library, and utfcpp.
//
// The labels are the translations of iso-codes in all languages that are installed, 4 to 64 bytes each.
#include "Labels.h"
#include "SideBySide.h"

#include <UtfConversion.h>
#include <string_util.h>

#include <cstring>
#include <iconv.h>
#include <memory>
#include <numeric>
#include <random>
#include <unicode/ustring.h>
#include <unicode/utf8.h>
#include <utf8.h>

namespace {

using Text_t = std::string;
using Text16_t = std::u16string;

constexpr std::size_t bulkSize = std::size_t{1} << 20;
constexpr std::size_t roomSize = 4 * bulkSize;

// Where results go to.
template <class Unit_t>
Unit_t* room() {
  static const auto units = std::make_unique<Unit_t[]>(roomSize);
  return units.get();
}

const uint8_t* bytesOf(const Text_t& text) {
  return reinterpret_cast<const uint8_t*>(text.data());
}

int32_t sizeOf(const Text_t& text) {
  return static_cast<int32_t>(text.size());
}

std::size_t units16(const Text_t& text) {
  const uint8_t* source = bytesOf(text);
  auto* target = room<uint16_t>();
  ConvertUTF8toUTF16(&source, source + text.size(), &target, target + roomSize, 0);
  return static_cast<std::size_t>(target - room<uint16_t>());
}

Text16_t inUtf16(const Text_t& text) {
  const std::size_t size = units16(text);
  return Text16_t(reinterpret_cast<const char16_t*>(room<uint16_t>()), size);
}

// A converter of the C library. The result goes to room().
class Iconv_c {
public:
  Iconv_c(const char* to, const char* from) : m_converter(iconv_open(to, from)) {}
  ~Iconv_c() { iconv_close(m_converter); }
  Iconv_c(const Iconv_c&) = delete;
  Iconv_c& operator=(const Iconv_c&) = delete;

  std::size_t convert(const char* text, std::size_t size) const {
    char* source = const_cast<char*>(text); // iconv does not write to it
    char* target = room<char>();
    std::size_t left = roomSize;
    iconv(m_converter, &source, &size, &target, &left);
    return roomSize - left;
  }

private:
  iconv_t m_converter;
};

// Each direction by each of its means; all give what the result's size is.
struct ToUtf16_s {
  static std::size_t ours(const Text_t& text) { return units16(text); }

  static std::size_t icu(const Text_t& text) {
    UErrorCode error = U_ZERO_ERROR;
    int32_t size = 0;
    u_strFromUTF8(room<UChar>(), static_cast<int32_t>(roomSize), &size, text.data(), sizeOf(text), &error);
    return static_cast<std::size_t>(size);
  }

  static std::size_t iconvOf(const Text_t& text) {
    static const Iconv_c converter("UTF-16LE", "UTF-8");
    return converter.convert(text.data(), text.size());
  }

  static std::size_t utfcpp(const Text_t& text) {
    return static_cast<std::size_t>(utf8::utf8to16(text.begin(), text.end(), room<char16_t>()) - room<char16_t>());
  }
};

struct ToUtf8_s {
  static std::size_t ours(const Text16_t& text) {
    const auto* source = reinterpret_cast<const uint16_t*>(text.data());
    auto* target = room<uint8_t>();
    ConvertUTF16toUTF8(&source, source + text.size(), &target, target + roomSize, 0);
    return static_cast<std::size_t>(target - room<uint8_t>());
  }

  static std::size_t icu(const Text16_t& text) {
    UErrorCode error = U_ZERO_ERROR;
    int32_t size = 0;
    u_strToUTF8(room<char>(), static_cast<int32_t>(roomSize), &size, text.data(), static_cast<int32_t>(text.size()),
                &error);
    return static_cast<std::size_t>(size);
  }

  static std::size_t iconvOf(const Text16_t& text) {
    static const Iconv_c converter("UTF-8", "UTF-16LE");
    return converter.convert(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
  }

  static std::size_t utfcpp(const Text16_t& text) {
    return static_cast<std::size_t>(utf8::utf16to8(text.begin(), text.end(), room<char>()) - room<char>());
  }
};

struct ToUtf32_s {
  static std::size_t ours(const Text_t& text) {
    const uint8_t* source = bytesOf(text);
    auto* target = room<uint32_t>();
    ConvertUTF8toUTF32(&source, source + text.size(), &target, target + roomSize, 0);
    return static_cast<std::size_t>(target - room<uint32_t>());
  }

  // The loop that ICU offers as a macro.
  static std::size_t icu(const Text_t& text) {
    const uint8_t* source = bytesOf(text);
    uint32_t* target = room<uint32_t>();
    for (int32_t place = 0; place < sizeOf(text);) {
      UChar32 character = 0;
      U8_NEXT(source, place, sizeOf(text), character);
      if (character < 0) {
        break;
      }
      *target++ = static_cast<uint32_t>(character);
    }
    return static_cast<std::size_t>(target - room<uint32_t>());
  }

  static std::size_t iconvOf(const Text_t& text) {
    static const Iconv_c converter("UTF-32LE", "UTF-8");
    return converter.convert(text.data(), text.size());
  }

  static std::size_t utfcpp(const Text_t& text) {
    return static_cast<std::size_t>(utf8::utf8to32(text.begin(), text.end(), room<char32_t>()) - room<char32_t>());
  }
};

struct Validity_s {
  static std::size_t ours(const Text_t& text) { return isStringLegalUTF8(bytesOf(text), sizeOf(text)) ? 1 : 0; }

  static std::size_t icu(const Text_t& text) {
    const uint8_t* source = bytesOf(text);
    for (int32_t place = 0; place < sizeOf(text);) {
      UChar32 character = 0;
      U8_NEXT(source, place, sizeOf(text), character);
      if (character < 0) {
        return 0;
      }
    }
    return 1;
  }

  static std::size_t iconvOf(const Text_t& text) { return ToUtf32_s::iconvOf(text) > 0 ? 1 : 0; }
  static std::size_t utfcpp(const Text_t& text) { return utf8::is_valid(text.begin(), text.end()) ? 1 : 0; }
};

// ICU into a vector of the result's size, which it is asked for first.
struct ToBomString_s {
  static std::size_t ours(const Text_t& text) { return ConvertUtf8String2BomString(text).size(); }

  static std::size_t icu(const Text_t& text) {
    UErrorCode error = U_ZERO_ERROR;
    int32_t size = 0;
    u_strFromUTF8(nullptr, 0, &size, text.data(), sizeOf(text), &error);
    std::vector<UChar> units(static_cast<std::size_t>(size) + 1);
    units[0] = 0xFEFF;
    error = U_ZERO_ERROR;
    u_strFromUTF8(&units[1], size, &size, text.data(), sizeOf(text), &error);
    benchmark::DoNotOptimize(units.data());
    return units.size();
  }
};

struct FromBomString_s {
  static std::size_t ours(const Text_t& bom) { return ConvertBomString2Utf8String(bom).size(); }

  static std::size_t icu(const Text_t& bom) {
    const std::size_t units = bom.size() / 2 - 1;
    UErrorCode error = U_ZERO_ERROR;
    int32_t size = 0;
    const auto* source = reinterpret_cast<const UChar*>(bom.data() + 2);
    u_strToUTF8(nullptr, 0, &size, source, static_cast<int32_t>(units), &error);
    std::vector<char> text(static_cast<std::size_t>(size));
    error = U_ZERO_ERROR;
    u_strToUTF8(text.data(), size, &size, source, static_cast<int32_t>(units), &error);
    benchmark::DoNotOptimize(text.data());
    return text.size();
  }
};

// All texts in a new order.
template <class Text, class Convert>
double passOver(const std::vector<Text>& texts, const std::vector<std::size_t>& order, Convert convert) {
  std::size_t sum = 0;
  const double began = SideBySide::nowNs(CLOCK_THREAD_CPUTIME_ID);
  for (const std::size_t index : order) {
    sum += convert(texts[index]);
  }
  const double took = SideBySide::nowNs(CLOCK_THREAD_CPUTIME_ID) - began;
  benchmark::DoNotOptimize(sum);
  return took;
}

template <class Text, class Ours, class Peer>
void compareTexts(benchmark::State& state, const std::vector<Text>& texts, Ours ours, Peer peer) {
  std::vector<std::size_t> order(texts.size());
  std::iota(order.begin(), order.end(), 0);
  std::mt19937 random(1);
  SideBySide::compareTimes(
      state, static_cast<int>(texts.size()),
      [&] {
        std::shuffle(order.begin(), order.end(), random);
        return passOver(texts, order, ours);
      },
      [&] {
        std::shuffle(order.begin(), order.end(), random);
        return passOver(texts, order, peer);
      });
}

void append(Text_t& text, uint32_t character) {
  utf8::append(static_cast<char32_t>(character), std::back_inserter(text));
}

uint32_t below(uint32_t limit, std::mt19937& random) {
  return static_cast<uint32_t>(random()) % limit;
}

// 1 MiB of characters, so many of a hundred drawn from a script and the others from a range of ASCII.
Text_t bulkOf(uint32_t first, uint32_t count, uint32_t percent, uint32_t asciiFirst, uint32_t asciiCount) {
  std::mt19937 random(3);
  Text_t text;
  while (text.size() < bulkSize - 4) {
    const bool isOfScript = below(100, random) < percent;
    append(text, isOfScript ? first + below(count, random) : asciiFirst + below(asciiCount, random));
  }
  return text;
}

// Words of every script by turns.
Text_t mix() {
  std::mt19937 random(4);
  const std::vector<std::pair<uint32_t, uint32_t>> scripts = {
      {'a', 26}, {0xC0, 64}, {0x430, 32}, {0x4E00, 0x5000}, {0x1F600, 64}};
  Text_t text;
  while (text.size() < bulkSize - 64) {
    const auto& script = scripts[below(static_cast<uint32_t>(scripts.size()), random)];
    for (uint32_t letters = 3 + below(6, random); letters > 0; --letters) {
      append(text, script.first + below(script.second, random));
    }
    text += ' ';
  }
  return text;
}

struct Bulk_s {
  const char* name;
  Text_t text;
};

std::vector<Bulk_s> bulks() {
  return {{"ascii", bulkOf(0, 1, 0, ' ', 95)},         {"latin", bulkOf(0xC0, 64, 15, 'a', 26)},
          {"cyrillic", bulkOf(0x430, 32, 85, ' ', 1)}, {"cjk", bulkOf(0x4E00, 0x5000, 97, ' ', 1)},
          {"emoji", bulkOf(0x1F600, 64, 100, ' ', 1)}, {"mix", mix()}};
}

template <class Direction_s, class Text>
void registerPeers(const std::string& name, const std::vector<Text>& texts) {
  const auto add = [&](const char* peerName, std::size_t (*peer)(const Text&)) {
    benchmark::RegisterBenchmark(
        (name + "/" + peerName).c_str(),
        [texts, peer](benchmark::State& state) { compareTexts(state, texts, Direction_s::ours, peer); })
        ->UseManualTime()
        ->Iterations(41);
  };
  add("icu", Direction_s::icu);
  add("iconv", Direction_s::iconvOf);
  add("utfcpp", Direction_s::utfcpp);
}

template <class Direction_s>
void registerBomStrings(const std::string& name, const std::vector<Text_t>& texts) {
  benchmark::RegisterBenchmark(
      (name + "/icu").c_str(),
      [texts](benchmark::State& state) { compareTexts(state, texts, Direction_s::ours, Direction_s::icu); })
      ->UseManualTime()
      ->Iterations(41);
}

template <class Convert, class Text>
auto each(const std::vector<Text>& texts, Convert convert) {
  std::vector<decltype(convert(texts[0]))> results;
  std::transform(texts.begin(), texts.end(), std::back_inserter(results), convert);
  return results;
}

void registerTexts(const std::string& name, const std::vector<Text_t>& texts) {
  registerPeers<ToUtf16_s>("utf8ToUtf16/" + name, texts);
  registerPeers<ToUtf8_s>("utf16ToUtf8/" + name, each(texts, inUtf16));
  registerPeers<ToUtf32_s>("utf8ToUtf32/" + name, texts);
  registerPeers<Validity_s>("validity/" + name, texts);
}

bool registerAll() {
  const std::vector<Text_t> labels = Labels::some(8192);
  if (!labels.empty()) {
    registerTexts("labels", labels);
    registerBomStrings<ToBomString_s>("utf8ToBomString/labels", labels);
    registerBomStrings<FromBomString_s>("bomStringToUtf8/labels", each(labels, ConvertUtf8String2BomString));
  }
  for (const Bulk_s& bulk : bulks()) {
    registerTexts(bulk.name, {bulk.text});
  }
  return true;
}

const bool isRegistered = registerAll();

} // namespace
