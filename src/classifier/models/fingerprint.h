// The statistical fingerprint of a piece of text: its words with their weights, and the shapes of
// its lines.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "classifier/classifier_settings.h"
#include "classifier/sample.h"

namespace sourcetype {

struct Fingerprint {
  struct Word {
    std::string text;  // ASCII letters, lower case
    float weight;      // share of all words
  };

  std::vector<Word> words;  // in ascending byte order
  // Punctuation in the order of the line, "_" for a blank, and how many lines have it.
  std::map<std::string, std::size_t, std::less<>> shapes;
};

// The fingerprint of the lines `first` to `last`, both included, as far as the sample has them.
// Words have 3 to 20 letters and are not in `ignored`; those that make up less than a thousandth of
// all words are dropped after the weights were shared out.
Fingerprint buildModel(const Sample& sample, std::size_t first, std::size_t last,
                       const ClassifierSettings::Keywords& ignored);

}  // namespace sourcetype
