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

// A line of dashes and the like, which sets an event off from the next.
bool isSeparator(std::string_view line) {
  constexpr std::array<std::string_view, 5> kSeparators{"---", "***", "===", "___", "=+="};
  while (!line.empty() && isAsciiSpace(line.front())) line.remove_prefix(1);
  return std::ranges::any_of(kSeparators,
                             [&](std::string_view mark) { return line.starts_with(mark); });
}

// Where some lines are indented, but not nearly all, they continue the ones above them.
bool arePartlyIndented(const Lines& lines) {
  constexpr float kFewest = 0.05F;  // single precision settles which side a boundary is on
  constexpr float kMost = 0.98F;
  const auto count = static_cast<float>(lines.size());
  const auto indented = std::ranges::count_if(
      lines, [](std::string_view line) { return line.empty() || isAsciiSpace(line.front()); });
  const auto fewest = std::max(1L, static_cast<long>(kFewest * count));
  const auto most = static_cast<long>(kMost * count);
  return fewest < indented && indented < most;
}

constexpr std::size_t kShortestSignature = 2;
constexpr std::size_t kLongestSignature = 9;

// The punctuation of a line, as much of it as is compared. Dots in a row count once whatever stands
// between them: 10.0.0.1 looks like 1.5.
std::string punctuationSignature(std::string_view line) {
  constexpr std::string_view kIgnored = "-_'";
  std::string signature;
  char previous = '\0';
  for (const char c : line) {
    if (isAsciiLetter(c) || isAsciiDigit(c) || isAsciiSpace(c)) continue;
    if (kIgnored.find(c) != std::string_view::npos) continue;
    if (c != '.' || previous != '.') signature += c;
    if (signature.size() == kLongestSignature) break;
    previous = c;
  }
  return signature;
}

// True when the lines begin with few patterns of punctuation for the length of these.
bool shareSignatures(const Lines& lines) {
  constexpr std::size_t kMostSignatures = 15;
  constexpr float kLeastRatio = 0.7F;  // of length to patterns; in single precision, as above
  std::vector<std::string> signatures(lines.size());
  std::ranges::transform(lines, signatures.begin(), punctuationSignature);
  for (std::size_t length = kShortestSignature; length <= kLongestSignature; ++length) {
    std::set<std::string_view> distinct;
    for (const std::string_view signature : signatures) {
      distinct.insert(signature.substr(0, length));
      if (distinct.size() > kMostSignatures) return false;
    }
    const auto ratio = static_cast<float>(length) / static_cast<float>(distinct.size());
    if (ratio >= kLeastRatio) return true;
  }
  return false;
}

}  // namespace

bool isSingleLineSample(const Sample& sample) {
  constexpr std::size_t kLeastLines = 2;            // a lone line is one event
  constexpr std::size_t kLeastSignatureLines = 30;  // fewer say nothing about patterns
  const Lines lines = examinedLines(sample);
  if (lines.size() < kLeastLines) return true;
  if (std::ranges::any_of(lines, isSeparator) || arePartlyIndented(lines)) return false;
  return lines.size() < kLeastSignatureLines || shareSignatures(lines);
}

}  // namespace sourcetype
