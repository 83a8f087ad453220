#include "classifier/single_line_check.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "util/text.h"

namespace sourcetype {
namespace {

using Lines = std::vector<std::string_view>;

Lines examinedLines(const Sample& sample) {
  Lines lines(std::min(sample.lineCount(), kMaxExaminedLines));
  for (std::size_t i = 0; i < lines.size(); ++i) lines[i] = sample.line(i);
  return lines;
}

// Returns true for a line of dashes or the like, which separates two events.
bool isSeparator(std::string_view line) {
  constexpr std::array<std::string_view, 5> kSeparators{"---", "***", "===", "___", "=+="};
  while (!line.empty() && isAsciiSpace(line.front())) line.remove_prefix(1);
  return std::ranges::any_of(kSeparators,
                             [&](std::string_view mark) { return line.starts_with(mark); });
}

// Returns true when some lines are indented, but not nearly all. They continue the lines above
// them.
bool arePartlyIndented(const Lines& lines) {
  constexpr float kMinShare = 0.05F;  // in single precision, which decides the boundary cases
  constexpr float kMaxShare = 0.98F;
  const auto count = static_cast<float>(lines.size());
  const auto indented = std::ranges::count_if(
      lines, [](std::string_view line) { return line.empty() || isAsciiSpace(line.front()); });
  const auto min = std::max(1L, static_cast<long>(kMinShare * count));
  const auto max = static_cast<long>(kMaxShare * count);
  return min < indented && indented < max;
}

constexpr std::size_t kMinSignatureLength = 2;
constexpr std::size_t kMaxSignatureLength = 9;

// Returns the first punctuation characters of a line. Of dots with no other punctuation between
// them only the first counts: 10.0.0.1 looks like 1.5.
std::string punctuationSignature(std::string_view line) {
  constexpr std::string_view kIgnored = "-_'";
  std::string signature;
  char previous = '\0';
  for (const char c : line) {
    if (isAsciiLetter(c) || isAsciiDigit(c) || isAsciiSpace(c)) continue;
    if (kIgnored.find(c) != std::string_view::npos) continue;
    if (c != '.' || previous != '.') signature += c;
    if (signature.size() == kMaxSignatureLength) break;
    previous = c;
  }
  return signature;
}

// Returns true when, for some length, the lines have few different signatures of that length.
bool shareSignatures(const Lines& lines) {
  constexpr std::size_t kMaxSignatures = 15;
  constexpr float kMinRatio = 0.7F;  // of length to signatures; in single precision, as above
  std::vector<std::string> signatures(lines.size());
  std::ranges::transform(lines, signatures.begin(), punctuationSignature);
  for (std::size_t length = kMinSignatureLength; length <= kMaxSignatureLength; ++length) {
    std::set<std::string_view> distinct;
    for (const std::string_view signature : signatures) {
      distinct.insert(signature.substr(0, length));
      if (distinct.size() > kMaxSignatures) return false;
    }
    const auto ratio = static_cast<float>(length) / static_cast<float>(distinct.size());
    if (ratio >= kMinRatio) return true;
  }
  return false;
}

}  // namespace

bool isSingleLineSample(const Sample& sample) {
  constexpr std::size_t kMinLines = 2;            // a single line is one event
  constexpr std::size_t kMinSignatureLines = 30;  // fewer are too few to compare signatures
  const Lines lines = examinedLines(sample);
  if (lines.size() < kMinLines) return true;
  if (std::ranges::any_of(lines, isSeparator) || arePartlyIndented(lines)) return false;
  return lines.size() < kMinSignatureLines || shareSignatures(lines);
}

}  // namespace sourcetype
