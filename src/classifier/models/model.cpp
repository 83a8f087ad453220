#include "classifier/models/model.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "classifier/models/model_log.h"
#include "classifier/type_name.h"
#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::string_view kWeightFormat = "%f";

struct Escape {
  std::string_view character;
  std::string_view written;
};
constexpr std::array kEscapes{Escape{"[", "L7("}, Escape{"]", "L7)"}, Escape{"=", "EQ"}};

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

std::string escapedKey(std::string key) {
  for (const auto& [character, written] : kEscapes) replaceAll(key, character, written);
  return key;
}

// Each escape begins with one of these letters, which no learned word contains.
bool mayContainEscape(std::string_view key) {
  bool found = false;
  for (const char c : key) found |= c == 'L' || c == 'E';  // faster than branches
  return found;
}

std::string_view unescapedKey(std::string_view key, TextKeeper& keeper) {
  if (!mayContainEscape(key)) return key;
  std::string text;
  for (std::size_t at = 0; at < key.size();) {
    std::string_view piece = key.substr(at, 1);
    std::size_t length = 1;
    for (const auto& [character, written] : kEscapes) {
      if (key[at] != written.front() || !key.substr(at).starts_with(written)) continue;
      piece = character;
      length = written.size();
    }
    text += piece;
    at += length;
  }
  return keeper.keep(std::move(text));
}

// A stanza written by hand may contain characters that this program escapes.
std::string_view withEscapes(std::string_view key, TextKeeper& keeper) {
  bool found = false;
  for (const char c : key) found |= c == '[' || c == ']' || c == '=';  // faster than branches
  return found ? keeper.keep(escapedKey(std::string(key))) : key;
}

// Reads a text such as "0.012345" of at most fifteen digits. A double represents that many exactly,
// so one division returns the double nearest to the number. Returns nothing for any other text.
std::optional<double> parseShortDecimal(std::string_view text) {
  constexpr std::size_t kMaxDigits = 15;
  constexpr std::array<double, kMaxDigits + 1> kPowersOfTen{
      1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  if (text.size() > kMaxDigits + 1) return std::nullopt;
  std::int64_t number = 0;
  std::size_t at = 0;
  const auto readDigits = [&] {
    const std::size_t begin = at;
    for (; at < text.size() && isAsciiDigit(text[at]); ++at)
      number = number * 10 + (text[at] - '0');
    return at - begin;
  };
  const std::size_t whole = readDigits();
  const bool hasPoint = at < text.size() && text[at] == '.';
  at += hasPoint ? 1 : 0;
  const std::size_t decimals = hasPoint ? readDigits() : 0;
  const std::size_t digits = whole + decimals;
  if (at < text.size() || digits == 0 || digits > kMaxDigits) return std::nullopt;
  return static_cast<double>(number) / kPowersOfTen[decimals];
}

// Reads a number as atof() does. Returns nothing unless it is a finite number.
std::optional<float> parseWeight(std::string_view text) {
  auto number = parseShortDecimal(text);
  if (!number) {
    const std::string copy(text);
    char* end = nullptr;
    number = std::strtod(copy.c_str(), &end);
    if (end == copy.c_str()) return std::nullopt;
  }
  const auto rounded = static_cast<float>(*number);
  if (!std::isfinite(rounded)) return std::nullopt;
  return rounded;
}

// Settings are sorted and unique by their keys. Their words need not be: an escape sorts
// differently from its character, and a word can be written in two ways.
void sortUnique(std::vector<ModelView::Word>& words) {
  std::ranges::stable_sort(words, {}, &ModelView::Word::text);
  const auto isSame = [](const auto& a, const auto& b) { return a.text == b.text; };
  words.erase(std::unique(words.begin(), words.end(), isSame), words.end());
}

}  // namespace

std::optional<float> parseLimit(std::string_view text) {
  const auto limit = parseWeight(text);
  return limit && *limit > 0 ? limit : std::nullopt;
}

std::string storedShape(std::string_view shape) {
  return escapedKey(std::string(shape));
}

ModelView viewOf(const Fingerprint& model, std::string_view sourcetype, TextKeeper& keeper) {
  ModelView view{.sourcetype = sourcetype, .words = {}, .shapes = {}};
  for (const auto& [text, weight] : model.words) {
    const auto stored = parseWeight(formatText(kWeightFormat, weight));
    view.words.push_back({.text = text, .weight = stored.value_or(0)});
  }
  for (const auto& [shape, count] : model.shapes) {
    view.shapes.push_back(keeper.keep(storedShape(shape)));
  }
  return view;
}

PropertiesMap saveModel(const Fingerprint& model, std::string_view source,
                        std::string_view sourcetype, std::string_view maxDistance) {
  PropertiesMap settings;
  settings.set(kSourceKey, trimBlanks(source));  // a value cannot be written with blanks around it
  settings.set(kSourcetypeKey, sourcetype);
  for (const auto& [text, weight] : model.words) {
    settings.set(escapedKey(text), formatText(kWeightFormat, weight));
  }
  for (const auto& [shape, count] : model.shapes) {
    settings.set(kShapePrefix + storedShape(shape), std::to_string(count));
  }
  settings.set(kSizeKey, std::to_string(settings.entries().size()));
  settings.set(kMaxDistKey, maxDistance);
  return settings;
}

std::optional<ModelView> loadModel(std::string_view stanza,
                                   std::span<const ConfFile::Setting> settings,
                                   std::string_view inherited, TextKeeper& keeper) {
  ModelView model{.sourcetype = {}, .words = {}, .shapes = {}};
  model.words.reserve(settings.size());
  std::optional<std::string_view> ownLimit;
  std::size_t declaredSize = 0;
  bool mayBeUnsorted = false;  // some key had escapes
  std::size_t unreadable = 0;
  const auto addWord = [&](const ConfFile::Setting& setting) {
    const auto weight = parseWeight(setting.value());
    if (!weight) ++unreadable;
    const auto text = unescapedKey(setting.key(), keeper);
    mayBeUnsorted = mayBeUnsorted || text.data() != setting.key().data();
    model.words.push_back({.text = text, .weight = weight.value_or(0)});
  };
  // Returns false for the key of a word.
  const auto readOwnKey = [&](std::string_view key, std::string_view value) {
    if (key == kSourcetypeKey) {
      model.sourcetype = value;
    } else if (key == kMaxDistKey) {
      ownLimit = value;
    } else if (key == kSizeKey) {
      std::from_chars(value.data(), value.data() + value.size(), declaredSize);
    } else {
      return key == kSourceKey;  // not used for matching
    }
    return true;
  };
  for (const auto& setting : settings) {
    const std::string_view key = setting.key();
    const bool mayBeOwn = key.starts_with('_') || key.starts_with('m');  // true for few words
    if (key.starts_with(kShapePrefix)) {
      model.shapes.push_back(withEscapes(key.substr(1), keeper));
    } else if (!mayBeOwn || !readOwnKey(key, setting.value())) {
      addWord(setting);
    }
  }
  if (model.sourcetype.empty()) {
    logWarn(kModelLog, "Ignoring sourcetypes.conf stanza that does not have a '%s' value.",
            kSourcetypeKey);
    return std::nullopt;
  }
  if (const auto problem = sourcetypeProblem(model.sourcetype); !problem.empty()) {
    logWarn(kModelLog, "Ignoring sourcetypes.conf stanza [%s] for its sourcetype \"%s\": %s.",
            stanza, model.sourcetype, problem);
    return std::nullopt;
  }
  if (settings.size() - (ownLimit ? 1 : 0) <= declaredSize) {
    logWarn(kModelLog,
            "Ignoring sourcetypes.conf stanza [%s]: it has fewer settings than its %s says; the "
            "write that made it was cut off, or settings were removed from it.",
            stanza, kSizeKey);
    return std::nullopt;
  }
  if (unreadable > 0) {
    logWarn(kModelLog, "sourcetypes.conf stanza [%s]: %lu weights that are no numbers count as 0.",
            stanza, unreadable);
  }
  if (const auto limit = parseLimit(ownLimit.value_or(inherited))) {
    model.maxDistance = *limit;
  } else if (ownLimit) {
    logWarn(kModelLog, "sourcetypes.conf stanza [%s]: %s '%s' is no number above 0, %g holds.",
            stanza, kMaxDistKey, *ownLimit, kNoMaxDistance);
  }
  if (mayBeUnsorted) sortUnique(model.words);
  return model;
}

}  // namespace sourcetype
