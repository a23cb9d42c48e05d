#include "TerminalLines.h"

#include "ChangeText.h"
#include "TerminalText.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

namespace {

constexpr const char* helpText =
    "A client is meant by its address in front (@128 key 5 press), else it is the one on the screen.\n"
    "Numbers are decimal, or hexadecimal with 0x.\n"
    "  clients                 all clients\n"
    "  objects                 all objects of the client\n"
    "  object ID               one object\n"
    "  show ADDRESS            bring a client's masks on the screen\n"
    "  key ID STATE            a soft key; STATE: press, hold, release, abort, or click (press and release)\n"
    "  button ID STATE         a button\n"
    "  number ID VALUE         enter a value: as it is sent, without offset and scale\n"
    "  text ID TEXT            enter a text: the rest of the line\n"
    "  utf16 ID TEXT           the same, sent as UTF-16\n"
    "  select ID               give the focus; open ID: open for input\n"
    "  unselect                take the focus away\n"
    "  escape                  leave an open input\n"
    "  point X Y STATE         touch the mask; STATE: press, hold, release\n"
    "  late MS [CODE]          the next answer (with this function code) comes late\n"
    "  wrong [CODE]            ... has a wrong byte\n"
    "  never [CODE]            ... does not come\n"
    "  refuse [OBJECT]         the next end of a pool is refused\n"
    "  faults off              no faults any more\n"
    "  vanish                  leave the bus\n"
    "  return                  come back\n"
    "  help                    this text\n"
    "  quit                    end\n";

LineResult_s failed(std::string why) {
  return {{}, std::move(why), false};
}

// Words_c: takes a line apart from its beginning.
class Words_c {
public:
  explicit Words_c(std::string line) : m_line(std::move(line)) {}

  std::string next() {
    skipBlanks();
    const std::size_t end = std::min(m_line.find(' ', m_at), m_line.size());
    std::string word = m_line.substr(m_at, end - m_at);
    m_at = end;
    return word;
  }

  bool isOver() {
    skipBlanks();
    return m_at >= m_line.size();
  }

  // rest: behind one blank.
  std::string rest() const { return m_at < m_line.size() ? m_line.substr(m_at + 1) : std::string(); }

  // number: none where the next word is no number up to the limit.
  std::optional<uint32_t> number(uint32_t limit = UINT32_MAX) {
    const std::string word = next();
    const bool isHexadecimal = word.compare(0, 2, "0x") == 0;
    const std::string digits = isHexadecimal ? word.substr(2) : word;
    const char* known = isHexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
    constexpr std::size_t mostDigits = 10;
    if (digits.empty() || digits.size() > mostDigits || digits.find_first_not_of(known) != std::string::npos) {
      return std::nullopt;
    }
    const unsigned long long value = std::stoull(digits, nullptr, isHexadecimal ? 16 : 10);
    return value > limit ? std::nullopt : std::make_optional(static_cast<uint32_t>(value));
  }

private:
  void skipBlanks() { m_at = std::min(m_line.find_first_not_of(' ', m_at), m_line.size()); }

  std::string m_line;
  std::size_t m_at = 0;
};

// Line_s: what a command works on.
struct Line_s {
  Terminal_c& terminal;
  uint8_t client;
  Words_c words;
};

using Handler = LineResult_s (*)(Line_s& line);

struct LineRow_s {
  const char* word;
  Handler handler;
};

LineResult_s done(const std::string& error) {
  return failed(error);
}

std::optional<uint16_t> takeId(Line_s& line) {
  const auto id = line.words.number(noObject - 1);
  return id ? std::make_optional(static_cast<uint16_t>(*id)) : std::nullopt;
}

LineResult_s noId() {
  return failed("which object? a number from 0 to 65534");
}

std::optional<KeyState_e> keyState(const std::string& word) {
  constexpr std::pair<const char*, KeyState_e> states[] = {{"press", KeyState_e::pressed},
                                                           {"hold", KeyState_e::held},
                                                           {"release", KeyState_e::released},
                                                           {"abort", KeyState_e::aborted}};
  const auto* found =
      std::find_if(std::begin(states), std::end(states), [&word](const auto& state) { return word == state.first; });
  return found == std::end(states) ? std::nullopt : std::make_optional(found->second);
}

// --- Looking

LineResult_s help(Line_s&) {
  return {helpText, {}, false};
}

LineResult_s clients(Line_s& line) {
  LineResult_s result;
  for (const TerminalClient_s& client : line.terminal.clients()) {
    result.text += clientText(client) + '\n';
  }
  return result.text.empty() ? LineResult_s{"no clients\n", {}, false} : result;
}

LineResult_s objects(Line_s& line) {
  const WorkingSetModel_c* model = line.terminal.model(line.client);
  if (model == nullptr) {
    return failed("there is no client");
  }
  LineResult_s result;
  for (const auto& [id, object] : model->pool().objects()) {
    result.text += objectText(*model, object) + '\n';
  }
  return result;
}

LineResult_s object(Line_s& line) {
  const auto id = takeId(line);
  if (!id) {
    return noId();
  }
  const TerminalObject_s* found = line.terminal.object(line.client, *id);
  if (found == nullptr) {
    return failed("there is no object " + std::to_string(*id));
  }
  return {objectText(*line.terminal.model(line.client), *found) + '\n', {}, false};
}

// --- Input

LineResult_s show(Line_s& line) {
  const auto address = line.words.number(IsoBusHost::maxAddress);
  return address ? done(line.terminal.show(static_cast<uint8_t>(*address)))
                 : failed("which client? an address from 0 to 253");
}

using Press = std::string (Terminal_c::*)(uint8_t client, uint16_t id, KeyState_e state);

LineResult_s press(Line_s& line, Press press) {
  const auto id = takeId(line);
  if (!id) {
    return noId();
  }
  const std::string word = line.words.next();
  if (word == "click") {
    const std::string error = (line.terminal.*press)(line.client, *id, KeyState_e::pressed);
    return done(error.empty() ? (line.terminal.*press)(line.client, *id, KeyState_e::released) : error);
  }
  const auto state = keyState(word);
  return state ? done((line.terminal.*press)(line.client, *id, *state))
               : failed("which state? press, hold, release, abort or click");
}

LineResult_s key(Line_s& line) {
  return press(line, &Terminal_c::key);
}

LineResult_s button(Line_s& line) {
  return press(line, &Terminal_c::button);
}

LineResult_s number(Line_s& line) {
  const auto id = takeId(line);
  const auto value = line.words.number();
  if (!id) {
    return noId();
  }
  return value ? done(line.terminal.enterNumber(line.client, *id, *value))
               : failed("which value? a number from 0 to 4294967295");
}

LineResult_s text(Line_s& line) {
  const auto id = takeId(line);
  const TerminalObject_s* found = id ? line.terminal.object(line.client, *id) : nullptr;
  if (found == nullptr) {
    return noId();
  }
  const auto bytes = fromUtf8(line.words.rest(), fontTypeOf(*line.terminal.model(line.client), *found));
  return bytes ? done(line.terminal.enterText(line.client, *id, *bytes))
               : failed("the font of the object cannot write this");
}

LineResult_s utf16(Line_s& line) {
  const auto id = takeId(line);
  if (!id) {
    return noId();
  }
  const std::vector<uint8_t> bytes = toUtf16(line.words.rest());
  return bytes.empty() ? failed("this is no UTF-8") : done(line.terminal.enterText(line.client, *id, bytes));
}

LineResult_s select(Line_s& line) {
  const auto id = takeId(line);
  return id ? done(line.terminal.select(line.client, *id, false)) : noId();
}

LineResult_s open(Line_s& line) {
  const auto id = takeId(line);
  return id ? done(line.terminal.select(line.client, *id, true)) : noId();
}

LineResult_s unselect(Line_s& line) {
  return done(line.terminal.unselect(line.client));
}

LineResult_s escape(Line_s& line) {
  return done(line.terminal.escape(line.client));
}

LineResult_s point(Line_s& line) {
  const auto x = line.words.number(UINT16_MAX);
  const auto y = line.words.number(UINT16_MAX);
  const auto state = keyState(line.words.next());
  if (!x || !y || !state || *state == KeyState_e::aborted) {
    return failed("where and how? two numbers from 0 to 65535; press, hold or release");
  }
  return done(line.terminal.point(line.client, static_cast<uint16_t>(*x), static_cast<uint16_t>(*y), *state));
}

// --- Faults

LineResult_s addFault(Line_s& line, AnswerFault_s::Kind_e kind, uint64_t delayMs = 0) {
  AnswerFault_s fault;
  fault.kind = kind;
  fault.delayMs = delayMs;
  if (!line.words.isOver()) {
    const auto code = line.words.number(UINT8_MAX);
    if (!code) {
      return failed("which function code? a number from 0 to 255");
    }
    fault.code = static_cast<uint8_t>(*code);
  }
  line.terminal.addFault(fault);
  return {};
}

LineResult_s late(Line_s& line) {
  const auto delay = line.words.number();
  return delay ? addFault(line, AnswerFault_s::late, *delay) : failed("how late? a number of milliseconds");
}

LineResult_s wrong(Line_s& line) {
  return addFault(line, AnswerFault_s::wrong);
}

LineResult_s never(Line_s& line) {
  return addFault(line, AnswerFault_s::never);
}

LineResult_s refuse(Line_s& line) {
  PoolRefusal_s refusal;
  if (!line.words.isOver()) {
    const auto id = takeId(line);
    if (!id) {
      return noId();
    }
    refusal.object = *id;
  }
  line.terminal.refuseNextPool(refusal);
  return {};
}

LineResult_s faults(Line_s& line) {
  if (line.words.next() != "off") {
    return failed("faults: only off");
  }
  line.terminal.clearFaults();
  return {};
}

LineResult_s vanish(Line_s& line) {
  line.terminal.vanish();
  return {};
}

LineResult_s comeBack(Line_s& line) {
  line.terminal.comeBack();
  return {};
}

LineResult_s quit(Line_s&) {
  return {{}, {}, true};
}

constexpr LineRow_s rows[] = {
    {"help", help},     {"clients", clients}, {"objects", objects},   {"object", object}, {"show", show},
    {"key", key},       {"button", button},   {"number", number},     {"text", text},     {"utf16", utf16},
    {"select", select}, {"open", open},       {"unselect", unselect}, {"escape", escape}, {"point", point},
    {"late", late},     {"wrong", wrong},     {"never", never},       {"refuse", refuse}, {"faults", faults},
    {"vanish", vanish}, {"return", comeBack}, {"quit", quit},
};

} // namespace

LineResult_s runLine(Terminal_c& terminal, const std::string& text) {
  Line_s line{terminal, terminal.shownClient().value_or(IsoBusHost::nullAddress), Words_c(text)};
  std::string word = line.words.next();
  if (word.empty() || word[0] == '#') {
    return {};
  }
  if (word[0] == '@') {
    const auto address = Words_c(word.substr(1)).number(IsoBusHost::maxAddress);
    if (!address) {
      return failed("'" + word + "' is no address from @0 to @253");
    }
    line.client = static_cast<uint8_t>(*address);
    word = line.words.next();
  }
  const auto* row =
      std::find_if(std::begin(rows), std::end(rows), [&word](const LineRow_s& known) { return word == known.word; });
  return row == std::end(rows) ? failed("'" + word + "' is no command; help lists them") : row->handler(line);
}
