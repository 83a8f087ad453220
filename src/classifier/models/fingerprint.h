// The statistical fingerprint of a text: its words with their weights, and the shapes of its lines.
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
  // The number of lines of each shape. A shape is the first 10 punctuation characters of a line,
  // blanks included as "_".
  std::map<std::string, std::size_t, std::less<>> shapes;
};

// Returns the fingerprint of the lines `first` to `last`, both included, as far as the sample has
// them. Words have 3 to 20 letters and are not in `ignored`. A word whose weight is below 0.001 is
// left out; the weights of the others stay as they are.
Fingerprint buildModel(const Sample& sample, std::size_t first, std::size_t last,
                       const ClassifierSettings::Keywords& ignored);

}  // namespace sourcetype
