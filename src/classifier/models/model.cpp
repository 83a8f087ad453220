#include "classifier/models/model.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "util/logging.h"

namespace sourcetype {
namespace {

constexpr LogCategory kModelLog{"FileClassifierManager"};

constexpr std::string_view kSourceKey = "_source";
constexpr std::string_view kSourcetypeKey = "_sourcetype";
constexpr std::string_view kSizeKey = "_size";
constexpr std::string_view kMaxDistKey = "maxDist";
constexpr char kShapePrefix = '~';  // begins no word, and sorts behind them all

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

std::string_view unescapedKey(std::string_view key, TextKeeper& keeper) {
  const bool isPlain = std::ranges::none_of(
      kEscapes, [&](const Escape& escape) { return key.find(escape.written) != key.npos; });
  if (isPlain) return key;
  std::string text(key);
  for (const auto& [character, written] : kEscapes) replaceAll(text, written, character);
  return keeper.keep(std::move(text));
}

// As atof() reads it; what is no finite number reads as 0.
float parseNumber(std::string_view text) {
  double number = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size()) {
    number = std::strtod(std::string(text).c_str(), nullptr);
  }
  const auto rounded = static_cast<float>(number);
  return std::isfinite(rounded) ? rounded : 0.0F;
}

}  // namespace

PropertiesMap saveModel(const Fingerprint& model, std::string_view source,
                        std::string_view sourcetype) {
  PropertiesMap settings;
  settings.set(kSourceKey, source);
  settings.set(kSourcetypeKey, sourcetype);
  for (const auto& [text, weight] : model.words) {
    settings.set(escapedKey(text), formatText("%f", weight));
  }
  for (const auto& [shape, count] : model.shapes) {
    settings.set(kShapePrefix + escapedKey(shape), std::to_string(count));
  }
  settings.set(kSizeKey, std::to_string(settings.entries().size()));
  return settings;
}

std::optional<ModelView> loadModel(std::string_view stanza,
                                   std::span<const ConfFile::Setting> settings,
                                   std::string_view inherited, TextKeeper& unescaped) {
  ModelView model{.sourcetype = {}, .source = "unknown", .words = {}, .shapes = {}};
  model.words.reserve(settings.size());
  std::string_view maxDistance = inherited;
  std::size_t declaredSize = 0;
  for (const auto& [key, value] : settings) {
    if (key == kSourcetypeKey) {
      model.sourcetype = value;
    } else if (key == kSourceKey) {
      model.source = value;
    } else if (key == kMaxDistKey) {
      maxDistance = value;
    } else if (key == kSizeKey) {
      std::from_chars(value.data(), value.data() + value.size(), declaredSize);
    } else if (key.starts_with(kShapePrefix)) {
      model.shapes.push_back(unescapedKey(key.substr(1), unescaped));
    } else {
      model.words.push_back({.text = unescapedKey(key, unescaped), .weight = parseNumber(value)});
    }
  }
  if (model.sourcetype.empty()) {
    logWarn(kModelLog, "Ignoring sourcetypes.conf stanza that does not have a '%s' value.",
            kSourcetypeKey);
    return std::nullopt;
  }
  if (settings.size() <= declaredSize) {
    logWarn(kModelLog,
            "Ignoring sourcetypes.conf stanza [%s]: it has fewer settings than its %s says; the "
            "write that made it was cut off, or settings were removed from it.",
            stanza, kSizeKey);
    return std::nullopt;
  }
  if (const float parsed = parseNumber(maxDistance); parsed > 0) model.maxDistance = parsed;
  if (!std::ranges::is_sorted(model.words, {}, &ModelView::Word::text)) {
    std::ranges::sort(model.words, {}, &ModelView::Word::text);  // escapes sort elsewhere
  }
  return model;
}

}  // namespace sourcetype
