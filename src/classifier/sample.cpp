#include "classifier/sample.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "charset/byte_order_mark.h"
#include "charset/charset_registry.h"
#include "classifier/flow_log.h"
#include "conf/message_catalog.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

// The file is converted in chunks of this size. The limits are tested after each chunk. Of a line
// that spans several chunks, the part in the last of them is kept.
constexpr std::size_t kChunkBytes = 10000;

// Chunks that one call to the system reads.
constexpr std::size_t kChunksPerRead = 26;

}  // namespace

// Turns the chunks of one file into a Sample.
class Sampler {
 public:
  Sampler(const PropertiesMap& props, std::string fileName, Keep keep)
      : props_(props), fileName_(std::move(fileName)), keep_(keep) {}

  void expectBytes(std::uint64_t count) {
    if (keep_ == Keep::Lines) sample_.text_.reserve(count);
  }

  void addChunk(std::string_view chunk) {
    const bool isFirst = sample_.bytesRead_ == 0;
    sample_.bytesRead_ += chunk.size();
    if (isFirst) chooseConverter(chunk);
    const std::size_t begin = sample_.text_.size();
    if (converter_) {
      converter_->convert(chunk, sample_.text_);
      dropByteOrderMark();
    } else {
      sample_.text_ += chunk.substr(0, chunk.find('\0'));
    }
    splitFrom(begin);
    if (keep_ == Keep::CountsOnly) dropEndedLines();
  }

  // With `atEndOfFile`, an incomplete character at the end is invalid.
  Sample finish(bool atEndOfFile) {
    if (converter_) {
      if (atEndOfFile) converter_->finish(sample_.text_);
      dropByteOrderMark();
      sample_.invalidCount_ = converter_->invalidCount();
    }
    endLine(sample_.text_.size());
    return std::move(sample_);
  }

  bool isFull(std::uint64_t maxLines) const {
    return lineCount_ >= maxLines || sample_.bytesRead_ > maxLines * kBytesPerLine;
  }

 private:
  void chooseConverter(std::string_view firstChunk) {
    auto choice = chooseCharset(props_, firstChunk, fileName_);
    converter_ = findConverter(choice.charset);
    if (!converter_) {
      logMessage(LogLevel::Warn, kFlowLog, "FILE_CLASSIFIER_UNABLE_TO_CONVERT_TO_UTF8__%s",
                 choice.charset);
    }
    sample_.detectedCharset_ = std::move(choice.detected);
  }

  // The byte-order mark is the character U+FEFF at the start, in every charset. It is removed after
  // the conversion, since in UTF-7 it ends within a byte.
  void dropByteOrderMark() {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (!isAtStart_ || sample_.text_.empty()) return;
    isAtStart_ = false;
    if (sample_.text_.starts_with(kMark)) sample_.text_.erase(0, kMark.size());
  }

  // Splits the text of a chunk, which starts at `begin`, into lines. The text after the last line
  // end is carried over to the next chunk. A chunk without a line end replaces what was carried
  // over.
  void splitFrom(std::size_t begin) {
    std::string& text = sample_.text_;
    const char* const end = text.data() + text.size();
    const char* from = text.data() + begin;
    const auto next = [&](char c) {
      const void* found = std::memchr(from, c, static_cast<std::size_t>(end - from));
      return found == nullptr ? end : static_cast<const char*>(found);
    };
    const char* lineFeed = next('\n');
    const char* carriageReturn = next('\r');
    if (lineFeed == end && carriageReturn == end) {
      text.erase(lineBegin_, begin - lineBegin_);
      return;
    }
    while (true) {
      const char* lineEnd = std::min(lineFeed, carriageReturn);
      if (lineEnd == end) return;
      endLine(static_cast<std::size_t>(lineEnd - text.data()));
      from = lineEnd + 1;
      (lineEnd == lineFeed ? lineFeed : carriageReturn) = next(*lineEnd);
    }
  }

  // Ends the current line before `end`. The next line begins after the terminator at `end`.
  void endLine(std::size_t end) {
    if (end > lineBegin_) {
      ++lineCount_;
      if (keep_ == Keep::Lines) sample_.extents_.push_back({lineBegin_, end - lineBegin_});
    }
    lineBegin_ = end + 1;
  }

  void dropEndedLines() {
    sample_.text_.erase(0, lineBegin_);
    lineBegin_ = 0;
  }

  const PropertiesMap& props_;
  std::string fileName_;
  Keep keep_;
  Sample sample_;
  std::unique_ptr<CharsetConverter> converter_;
  bool isAtStart_ = true;        // nothing has been converted yet
  std::size_t lineBegin_ = 0;    // of the current line
  std::uint64_t lineCount_ = 0;  // lines that ended and are not empty, kept or not
};

CharsetChoice chooseCharset(const PropertiesMap& props, std::string_view firstChunk,
                            std::string_view fileName) {
  const auto configured = props.tryGet("CHARSET");
  if (configured && configured != "auto") return {.charset = *configured, .detected = {}};
  if (configured) {
    if (const auto mark = findByteOrderMark(firstChunk)) {
      std::string charset(mark->charset);
      logDebug(kFlowLog, "Best language encoding matching for file (%s) is %s", fileName, charset);
      return {.charset = charset, .detected = charset};
    }
  }
  return {.charset = "UTF-8", .detected = {}};
}

std::optional<Sample> readSample(const std::filesystem::path& path, const PropertiesMap& props,
                                 std::uint64_t maxLines, Keep keep) {
  std::error_code ignored;
  return readSample(path, props, maxLines, keep, ignored);
}

std::optional<Sample> readSample(const std::filesystem::path& path, const PropertiesMap& props,
                                 std::uint64_t maxLines, Keep keep, std::error_code& error) {
  const std::string fileName = pathToText(path);
  InputFile file(path);
  error = file.error();
  if (error) {
    logMessage(LogLevel::Warn, kFlowLog, "FILE_CLASSIFIER_CANNOT_OPEN__%s", fileName);
    return std::nullopt;
  }
  Sampler sampler(props, fileName, keep);
  const std::uint64_t maxBytes = maxLines * kBytesPerLine + kChunkBytes;
  sampler.expectBytes(std::min(file.size(), maxBytes));
  const auto wanted = std::min<std::uint64_t>(file.size() / kChunkBytes + 1, kChunksPerRead);
  std::vector<char> buffer(kChunkBytes * static_cast<std::size_t>(wanted));
  while (const std::size_t count = file.read(buffer)) {
    for (std::string_view rest(buffer.data(), count); !rest.empty();) {
      const auto chunk = rest.substr(0, kChunkBytes);
      sampler.addChunk(chunk);
      if (sampler.isFull(maxLines)) return sampler.finish(false);
      rest.remove_prefix(chunk.size());
    }
  }
  error = file.error();
  if (error) logWarn(kFlowLog, "Reading %s ended early: %m", fileName, error);
  return sampler.finish(true);
}

Sample readSampleText(std::string_view text, const PropertiesMap& props,
                      std::string_view fileName) {
  Sampler sampler(props, std::string(fileName), Keep::Lines);
  if (!text.empty()) sampler.addChunk(text);
  return sampler.finish(true);
}

}  // namespace sourcetype
