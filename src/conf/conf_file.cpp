#include "conf/conf_file.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "conf/stanza_kinds.h"
#include "platform/path_form.h"
#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

using namespace std::string_view_literals;

using Setting = ConfFile::Setting;

// Sorts settings by key and keeps the last setting of each key. Returns the settings kept.
std::span<Setting> keepLastOfEachKey(std::span<Setting> settings) {
  const auto isNotBefore = [](const Setting& a, const Setting& b) {
    return !isBeforeInBytes(a.key(), b.key());
  };
  if (std::ranges::adjacent_find(settings, isNotBefore) == settings.end()) {
    return settings;  // the usual case: this program writes settings in this order
  }
  std::ranges::stable_sort(settings, {}, &Setting::key);
  auto kept = settings.begin();
  for (auto setting = settings.begin(); setting != settings.end(); ++setting) {
    const auto following = std::next(setting);
    if (following == settings.end() || following->key() != setting->key()) *kept++ = *setting;
  }
  return {settings.begin(), kept};
}

class EncodingErrors : public std::error_category {
 public:
  const char* name() const noexcept override { return "encoding"; }

  std::string message(int encoding) const override {
    const bool isUtf16 = static_cast<ConfEncoding>(encoding) == ConfEncoding::Utf16;
    return std::string("it is text in ") + (isUtf16 ? "UTF-16" : "UTF-32") + "; save it as UTF-8";
  }
};

const std::error_category& encodingErrors() {
  static const EncodingErrors kErrors;
  return kErrors;
}

// True for a run of ASCII characters in UTF-16: every second byte is NUL. The run may be anywhere,
// because UTF-16 may have been appended to other text. A shorter run may be damage, for which one
// line is rejected and not the file.
bool hasUtf16(std::string_view bytes) {
  constexpr std::size_t kMinRun = 7;  // from NUL to NUL
  for (auto nul = bytes.find('\0'); nul != std::string_view::npos;
       nul = bytes.find('\0', nul + 1)) {
    if (bytes.size() - nul < kMinRun) return false;
    std::size_t length = 1;
    while (length < kMinRun && (bytes[nul + length] == '\0') == (length % 2 == 0)) ++length;
    if (length == kMinRun) return true;
  }
  return false;
}

// Counts in blocks whose count fits into a byte: the compiler then counts many bytes at once.
std::size_t countLineFeeds(std::string_view bytes) {
  constexpr std::size_t kBlock = 255;
  std::size_t total = 0;
  for (; !bytes.empty(); bytes.remove_prefix(std::min(kBlock, bytes.size()))) {
    std::uint8_t count = 0;
    for (const char c : bytes.substr(0, kBlock)) {
      if (c == '\n') ++count;
    }
    total += count;
  }
  return total;
}

}  // namespace

std::error_code make_error_code(ConfEncoding encoding) {
  return {static_cast<int>(encoding), encodingErrors()};
}

std::error_code findEncodingError(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE\0\0"sv) || bytes.starts_with("\0\0\xFE\xFF"sv)) {
    return ConfEncoding::Utf32;
  }
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF") || hasUtf16(bytes)) {
    return ConfEncoding::Utf16;
  }
  return {};
}

bool isEncodingError(std::error_code error) {
  return error.category() == encodingErrors();
}

FileBytes readConfFile(const std::filesystem::path& path) {
  FileBytes file = readFile(path, ConfFile::kMaxBytes);
  if (const auto error = findEncodingError(file.view())) {
    file = {.bytes = nullptr, .size = 0, .error = error};
  }
  return file;
}

const ConfFile::Setting* ConfFile::Stanza::find(std::string_view key) const {
  const auto found = std::ranges::lower_bound(settings, key, {}, &Setting::key);
  return found != settings.end() && found->key() == key ? &*found : nullptr;
}

// The settings below one header.
struct ConfFile::Block {
  std::string_view stanza;
  std::uint32_t begin, end;  // in file order
};

ConfFile::ConfFile(std::filesystem::path path, FileBytes bytes, Report report)
    : path_(std::move(path)), bytes_(std::move(bytes)) {
  std::vector<Block> blocks = readLines(report);
  if (!std::ranges::is_sorted(blocks, {}, &Block::stanza)) {
    std::ranges::stable_sort(blocks, {}, &Block::stanza);
  }
  stanzas_.reserve(blocks.size());
  for (auto first = blocks.begin(); first != blocks.end();) {
    const auto last = std::find_if(
        first, blocks.end(), [&](const Block& block) { return block.stanza != first->stanza; });
    std::span settings(settings_.data() + first->begin, first->end - first->begin);
    if (last - first > 1) {
      std::vector<Setting>& joined = joined_.emplace_back();
      for (auto block = first; block != last; ++block) {
        joined.insert(joined.end(), settings_.data() + block->begin, settings_.data() + block->end);
      }
      settings = joined;
    }
    addStanza(first->stanza, keepLastOfEachKey(settings), report);
    first = last;
  }
}

std::vector<ConfFile::Block> ConfFile::readLines(Report report) {
  const auto lines = countLineFeeds(bytes_.view()) + 1;
  // The system provides memory at its first use: reserving too much costs nothing.
  settings_.reserve(std::min(lines, kMaxSettings));
  std::vector<Block> blocks;
  LogicalLineReader reader(bytes_.view(), path_, keeper_, report);
  for (LogicalLine line; reader.next(line);) {
    const bool isHeader = line.kind == LineKind::Header;
    if (!isHeader && line.kind != LineKind::Setting) continue;
    if (isHeader ? blocks.size() == kMaxHeaders : settings_.size() == kMaxSettings) {
      isComplete_ = false;
      if (report == Report::Yes) {
        logError(kIniFileLog,
                 "%s has more than %lu %s: line %lu and all after it are left out, and nothing is "
                 "written to the file.",
                 pathToText(path_), isHeader ? kMaxHeaders : kMaxSettings,
                 isHeader ? "stanza headers" : "settings", reader.lineCount());
      }
      reader.stop();
      continue;
    }
    const auto at = static_cast<std::uint32_t>(settings_.size());
    if (isHeader) {
      blocks.push_back({line.name, at, at});
    } else {
      if (blocks.empty()) blocks.push_back({kDefaultStanza, 0, 0});
      settings_.emplace_back(line.name, line.value);
      blocks.back().end = at + 1;
    }
  }
  return blocks;
}

void ConfFile::addStanza(std::string_view name, std::span<Setting> settings, Report report) {
  if (settings.size() > kMaxStanzaSettings) {
    isComplete_ = false;
    if (report == Report::Yes) {
      logError(kIniFileLog,
               "%s has more than %lu settings in [%s]: the last %lu, by the order of their keys, "
               "are left out, and nothing is written to the file.",
               pathToText(path_), kMaxStanzaSettings, name, settings.size() - kMaxStanzaSettings);
    }
    settings = settings.first(kMaxStanzaSettings);
  }
  stanzas_.push_back({name, settings});
}

const ConfFile::Stanza* ConfFile::find(std::string_view name) const {
  const auto found = std::ranges::lower_bound(stanzas_, name, {}, &Stanza::name);
  return found != stanzas_.end() && found->name == name ? &*found : nullptr;
}

}  // namespace sourcetype
