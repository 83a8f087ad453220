// Words are counted in a hash table. A key is the word itself, at five bits a letter: twenty
// letters fit into two machine words, so that counting neither copies nor compares texts.
#include "classifier/models/fingerprint.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::size_t kMinLetters = 3;
constexpr std::size_t kMaxLetters = 20;

// Rarer words would make models larger and hardly change distances.
constexpr float kMinWeight = 0.001F;

constexpr std::size_t kMaxShapeLength = 10;
constexpr std::string_view kShapeCharacters = " ,;-#$%&+./:=?@'|*(){}<>[]^!";

// What a byte means for a fingerprint. Both members are 0 for a byte that only ends words.
struct ByteClass {
  std::uint8_t letter = 0;  // "a" is 1, "z" is 26
  char shape = '\0';        // the character that it adds to a shape
};
constexpr std::array<ByteClass, 256> kByteClasses = [] {
  std::array<ByteClass, 256> classes{};
  for (char c = 'a'; c <= 'z'; ++c) {
    const auto number = static_cast<std::uint8_t>(c - 'a' + 1);
    classes[static_cast<unsigned char>(c)].letter = number;
    classes[static_cast<unsigned char>(toAsciiUpper(c))].letter = number;
  }
  for (const char c : kShapeCharacters) {
    classes[static_cast<unsigned char>(c)].shape = c == ' ' ? '_' : c;
  }
  return classes;
}();

constexpr unsigned kLetterBits = 5;

// A word of up to kMaxLetters letters. The last letter has the lowest bits. An empty word is 0.
struct PackedWord {
  std::uint64_t high = 0;
  std::uint64_t low = 0;

  void append(std::uint8_t letter) {
    high = (high << kLetterBits) | (low >> (64U - kLetterBits));
    low = (low << kLetterBits) | letter;
  }

  std::string text() const {
    std::string letters;
    for (PackedWord rest = *this; rest.low != 0;) {
      constexpr std::uint64_t kLetterMask = (1U << kLetterBits) - 1;
      letters += static_cast<char>('a' - 1 + (rest.low & kLetterMask));
      rest.low = (rest.low >> kLetterBits) | (rest.high << (64U - kLetterBits));
      rest.high >>= kLetterBits;
    }
    std::ranges::reverse(letters);
    return letters;
  }

  friend bool operator==(const PackedWord&, const PackedWord&) = default;
};

// A hash table with open addressing and linear probing, at most half full.
class WordCounter {
 public:
  WordCounter() : slots_(kFirstSlots) {}

  void add(const PackedWord& word) {
    Slot& slot = find(slots_, word);
    if (slot.count++ > 0) return;
    slot.word = word;
    if (++used_ * 2 > slots_.size()) grow();
  }

  template <class Visit>
  void visitWords(const Visit& visit) const {
    for (const Slot& slot : slots_) {
      if (slot.count > 0) visit(slot.word, slot.count);
    }
  }

 private:
  static constexpr std::size_t kFirstSlots = 4096;

  struct Slot {
    PackedWord word;
    std::uint32_t count = 0;
  };

  static Slot& find(std::vector<Slot>& slots, const PackedWord& word) {
    constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15U;  // 2^64 divided by it mixes well
    const std::uint64_t hash = (word.low ^ (word.high * kGoldenRatio)) * kGoldenRatio;
    std::size_t at = (hash ^ (hash >> 32U)) & (slots.size() - 1);
    while (slots[at].count > 0 && slots[at].word != word) at = (at + 1) & (slots.size() - 1);
    return slots[at];
  }

  void grow() {
    std::vector<Slot> larger(slots_.size() * 2);
    for (const Slot& slot : slots_) {
      if (slot.count > 0) find(larger, slot.word) = slot;
    }
    slots_.swap(larger);
  }

  std::vector<Slot> slots_;
  std::size_t used_ = 0;
};

void countWords(std::string_view line, WordCounter& counter) {
  PackedWord word;
  std::size_t letters = 0;
  const auto endWord = [&] {
    if (letters >= kMinLetters && letters <= kMaxLetters) counter.add(word);
    word = {};
    letters = 0;
  };
  for (const char c : line) {
    if (const auto letter = kByteClasses[static_cast<unsigned char>(c)].letter; letter != 0) {
      word.append(letter);
      ++letters;
    } else if (letters > 0) {
      endWord();
    }
  }
  endWord();
}

void countShape(std::string_view line, Fingerprint& model) {
  std::array<char, kMaxShapeLength> shape;
  std::size_t length = 0;
  for (const char c : line) {
    if (const char mark = kByteClasses[static_cast<unsigned char>(c)].shape; mark != '\0') {
      shape[length++] = mark;
      if (length == shape.size()) break;
    } else if (c == '\n') {
      break;
    }
  }
  const std::string_view text(shape.data(), length);
  const auto known = model.shapes.find(text);
  if (known != model.shapes.end()) {
    ++known->second;
  } else {
    model.shapes.emplace(text, 1);
  }
}

}  // namespace

Fingerprint buildModel(const Sample& sample, std::size_t first, std::size_t last,
                       const ClassifierSettings::Keywords& ignored) {
  Fingerprint model;
  WordCounter counter;
  for (std::size_t i = first; i <= last && i < sample.lineCount(); ++i) {
    countWords(sample.line(i), counter);
    countShape(sample.line(i), model);
  }
  std::size_t total = 0;
  counter.visitWords([&](const PackedWord& word, std::uint32_t count) {
    std::string text = word.text();
    if (ignored.contains(text)) return;
    total += count;
    model.words.push_back({.text = std::move(text), .weight = static_cast<float>(count)});
  });
  for (auto& word : model.words) word.weight /= static_cast<float>(total);
  std::erase_if(model.words, [](const auto& word) { return word.weight < kMinWeight; });
  std::ranges::sort(model.words, {}, &Fingerprint::Word::text);
  return model;
}

}  // namespace sourcetype
