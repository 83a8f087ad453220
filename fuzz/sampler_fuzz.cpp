// From bytes to lines, in every charset. Input: a charset, where the bytes are cut, how many bytes
// are before them in the file, and the bytes.
#include <algorithm>
#include <array>
#include <cstdint>
#include <sstream>

#include "charset/charset_registry.h"
#include "classifier/sample.h"
#include "support.h"

namespace sourcetype::fuzzing {
namespace {

// As sample.cpp reads.
constexpr std::size_t kChunkBytes = 10'000;

struct Converted {
  std::string text;
  std::uint64_t invalid = 0;

  friend bool operator==(const Converted&, const Converted&) = default;
};

// The bytes in pieces whose sizes are those of `sizes` in turn.
Converted convert(const std::string& charset, std::string_view bytes, std::string_view sizes) {
  Converted result;
  const auto converter = findConverter(charset);
  for (std::size_t piece = 0; !bytes.empty(); ++piece) {
    const std::size_t size = sizes.empty()
                                 ? bytes.size()
                                 : static_cast<unsigned char>(sizes[piece % sizes.size()]) % 9 + 1;
    const auto before = result.text.size();
    converter->convert(bytes.substr(0, size), result.text);
    require(isCleanUtf8(std::string_view(result.text).substr(before)), "a piece is valid UTF-8");
    bytes.remove_prefix(std::min(size, bytes.size()));
  }
  converter->finish(result.text);
  result.invalid = converter->invalidCount();
  return result;
}

// UTF-8 byte by byte.
Converted convertUtf8Slowly(std::string_view bytes) {
  Converted result;
  while (!bytes.empty()) {
    auto length = characterLength(bytes);
    if (length == 0 || bytes.front() == '\0') {
      std::array<char, 5> escaped{};
      std::snprintf(escaped.data(), escaped.size(), "\\x%02X",
                    static_cast<unsigned>(static_cast<unsigned char>(bytes.front())));
      result.text += escaped.data();
      ++result.invalid;
      length = 1;
    } else {
      result.text += bytes.substr(0, length);
    }
    bytes.remove_prefix(length);
  }
  return result;
}

// The lines of a file that a sample keeps: a chunk without a line end replaces the text that was
// carried over from the chunk before.
struct SlowSample {
  std::vector<std::string> lines;
  std::uint64_t invalid = 0;
};
SlowSample sampleSlowly(const CharsetChoice& choice, std::string_view bytes) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  SlowSample sample;
  std::string line;
  const auto endLine = [&] {
    if (!line.empty()) sample.lines.push_back(line);
    line.clear();
  };
  const auto converter = findConverter(choice.charset);
  bool isAtStart = true;
  const auto dropMark = [&](std::string& text) {
    if (!isAtStart || text.empty()) return;
    isAtStart = false;
    if (text.starts_with(kMark)) text.erase(0, kMark.size());
  };
  for (; !bytes.empty(); bytes.remove_prefix(std::min(kChunkBytes, bytes.size()))) {
    std::string text;
    converter->convert(bytes.substr(0, kChunkBytes), text);
    dropMark(text);
    if (text.find_first_of("\r\n") == std::string::npos) line.clear();
    for (const char c : text) {
      if (c == '\r' || c == '\n') {
        endLine();
      } else {
        line += c;
      }
    }
  }
  converter->finish(line);
  dropMark(line);
  endLine();
  sample.invalid = converter->invalidCount();
  return sample;
}

void checkSample(const Sample& sample, const SlowSample& slow, std::size_t bytes) {
  require(sample.bytesRead() == bytes, "every byte is read and counted");
  require(sample.invalidCount() == slow.invalid, "invalid units are counted");
  require(sample.lineCount() == slow.lines.size(), "lines are counted");
  for (std::size_t i = 0; i < slow.lines.size(); ++i) {
    require(sample.line(i) == slow.lines[i], "a line is what stands between line ends");
  }
}

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> inputs;
  std::istringstream rows(repositoryFile("tests/charset/charset_digests.txt"));
  std::string row;
  for (std::string previous; std::getline(rows, row);) {
    const auto charset = row.substr(0, row.find(' '));
    if (charset == previous) continue;
    inputs.push_back(joined({charset, "\x01\x03", "9997",
                             "one\r\n\x1B$B\x21\x21\x81\x40\xA4\xA2\xE3\x81\x82~{VP~}+AGE-"}));
    previous = charset;
  }
  for (const char* mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF", "+/v8-", "\x84\x31\x95\x33",
                           "\xDD\x73\x66\x73", "\x0E\xFE\xFF"}) {
    inputs.push_back(joined({"auto", "\x01", "0", std::string(mark) + "line\n"}));
  }
  return inputs;
}

void run(std::string_view input) {
  Parts parts(input);
  const std::string charset(parts.next());
  const auto sizes = parts.next();
  const auto padding = parts.nextBelow(2 * kChunkBytes + 100);
  const auto bytes = parts.rest();

  if (findConverter(charset)) {
    const auto whole = convert(charset, bytes, "");
    require(convert(charset, bytes, "\x01") == whole, "pieces of a byte make no difference");
    require(convert(charset, bytes, sizes) == whole, "how bytes are cut makes no difference");
    if (convert(charset, "\nEND\n", "").text == "\nEND\n") {
      const auto text = convert(charset, std::string(bytes) + "\n\nEND\n", "").text;
      require(text.ends_with("\nEND\n"), "a line after damage is a line");
    }
    if (normaliseCharsetName(charset) == "utf8") {
      require(whole == convertUtf8Slowly(bytes), "UTF-8 is what the standard says");
    }
  }

  std::string file(padding, 'p');
  for (std::size_t i = 999; i < file.size(); i += 1000) file[i] = '\n';
  file += bytes;
  const auto path = tree().write("file", file);
  const PropertiesMap props{{"CHARSET", charset}};
  const auto choice = chooseCharset(props, std::string_view(file).substr(0, kChunkBytes), "file");
  const auto sample = readSample(path, props, 1'000'000);
  const auto counted = readSample(path, props, 1'000'000, Keep::CountsOnly);
  require(sample && counted, "a file that is there is read");
  require(counted->invalidCount() == sample->invalidCount() && counted->lineCount() == 0 &&
              counted->bytesRead() == sample->bytesRead(),
          "counts do not depend on lines");
  require(sample->detectedCharset() == (file.empty() ? "" : choice.detected), "the mark is said");
  if (!findConverter(choice.charset)) return;
  checkSample(*sample, sampleSlowly(choice, file), file.size());

  const auto fewLines = readSample(path, props, 3);
  for (std::size_t i = 0; i + 1 < fewLines->lineCount(); ++i) {
    require(fewLines->line(i) == sample->line(i), "a limit cuts no line but the last");
  }
  if (file.size() <= kChunkBytes) {
    checkSample(readSampleText(file, props, "text"), sampleSlowly(choice, file), file.size());
  }
}

}  // namespace sourcetype::fuzzing
