#include "conf/conf_file.h"

#include <algorithm>
#include <utility>

namespace sourcetype {
namespace {

using Setting = ConfFile::Setting;

// The settings of one header, in file order.
struct Block {
  std::string_view stanza;
  std::vector<Setting>::size_type begin, end;
};

// Sorts a stanza's settings by key and drops all but the last value of each; gives the new end.
std::vector<Setting>::iterator keepLastOfEachKey(std::vector<Setting>::iterator begin,
                                                 std::vector<Setting>::iterator end) {
  const auto byKey = [](const Setting& a, const Setting& b) { return a.key < b.key; };
  if (std::adjacent_find(begin, end, [](const auto& a, const auto& b) { return a.key >= b.key; }) ==
      end) {
    return end;  // as this program writes them
  }
  std::stable_sort(begin, end, byKey);
  auto kept = begin;
  for (auto setting = begin; setting != end; ++setting) {
    const auto following = std::next(setting);
    if (following == end || following->key != setting->key) *kept++ = *setting;
  }
  return kept;
}

}  // namespace

const ConfFile::Setting* ConfFile::Stanza::find(std::string_view key) const {
  const auto found = std::ranges::lower_bound(settings, key, {}, &Setting::key);
  return found != settings.end() && found->key == key ? &*found : nullptr;
}

ConfFile::ConfFile(std::filesystem::path path, FileBytes bytes, Report report)
    : path_(std::move(path)), bytes_(std::move(bytes)) {
  std::vector<Setting> inFileOrder;
  std::vector<Block> blocks;
  LogicalLineReader reader(bytes_.view(), path_, keeper_, report);
  for (LogicalLine line; reader.next(line);) {
    if (line.kind == LineKind::Header) {
      blocks.push_back({line.name, inFileOrder.size(), inFileOrder.size()});
    } else if (line.kind == LineKind::Setting) {
      if (blocks.empty()) blocks.push_back({kDefaultStanza, 0, 0});
      inFileOrder.push_back({line.name, line.value});
      blocks.back().end = inFileOrder.size();
    }
  }
  std::ranges::stable_sort(blocks, {}, &Block::stanza);

  // The spans into settings_ stay valid: it never grows beyond this.
  settings_.reserve(inFileOrder.size());
  for (auto block = blocks.begin(); block != blocks.end();) {
    const auto stanza = block->stanza;
    const auto begin = settings_.size();
    for (; block != blocks.end() && block->stanza == stanza; ++block) {
      settings_.insert(settings_.end(),
                       inFileOrder.begin() + static_cast<std::ptrdiff_t>(block->begin),
                       inFileOrder.begin() + static_cast<std::ptrdiff_t>(block->end));
    }
    const auto first = settings_.begin() + static_cast<std::ptrdiff_t>(begin);
    settings_.erase(keepLastOfEachKey(first, settings_.end()), settings_.end());
    stanzas_.push_back({stanza, {settings_.data() + begin, settings_.size() - begin}});
  }
}

const ConfFile::Stanza* ConfFile::find(std::string_view name) const {
  const auto found = std::ranges::lower_bound(stanzas_, name, {}, &Stanza::name);
  return found != stanzas_.end() && found->name == name ? &*found : nullptr;
}

}  // namespace sourcetype
