// Models: made of text, stored, loaded, and measured. Input: a log, then sourcetypes.conf.
#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "classifier/models/model.h"
#include "classifier/models/model_index.h"
#include "conf/conf_file.h"
#include "conf/stanza_kinds.h"
#include "plain_distance.h"
#include "support.h"
#include "util/text.h"

namespace sourcetype::fuzzing {
namespace {

using testing::plainDistance;
using testing::PlainModel;

constexpr std::string_view kIgnored = "ignored";

// Of the models that are made of the log's parts, in turn.
constexpr std::array<std::string_view, 3> kSourcetypes{"one", "a=b [c]", "\xC3\xA4|b"};
constexpr std::size_t kLogParts = 4;

// Words and shapes by their definition.
void checkFingerprint(const Fingerprint& model, const Sample& sample) {
  constexpr std::string_view kMarks = " ,;-#$%&+./:=?@'|*(){}<>[]^!";
  std::map<std::string, float> counts;
  std::map<std::string, std::size_t> shapes;
  float total = 0;
  for (std::size_t i = 0; i < sample.lineCount(); ++i) {
    std::string shape;
    std::string word;
    for (const char c : std::string(sample.line(i)) + '\0') {
      if (isAsciiLetter(c)) {
        word += toAsciiLower(c);
        continue;
      }
      if (word.size() >= 3 && word.size() <= 20 && word != kIgnored) counts[word] += 1, total += 1;
      word.clear();
      if (c != '\0' && kMarks.find(c) != std::string_view::npos && shape.size() < 10) {
        shape += c == ' ' ? '_' : c;
      }
    }
    ++shapes[shape];
  }
  std::erase_if(counts, [&](const auto& word) { return word.second / total < 0.001F; });
  require(std::ranges::equal(model.words, counts,
                             [&](const auto& a, const auto& b) {
                               return a.text == b.first && a.weight == b.second / total;
                             }),
          "a word weighs its share of all words");
  require(std::ranges::equal(model.shapes, shapes), "a shape is the punctuation of a line");
}

bool sameModel(const ModelView& a, const ModelView& b) {
  const auto sorted = [](auto shapes) {
    std::ranges::sort(shapes);
    return shapes;
  };
  return a.sourcetype == b.sourcetype && a.maxDistance == b.maxDistance &&
         std::ranges::equal(a.words, b.words,
                            [](const auto& x, const auto& y) {
                              return x.text == y.text && x.weight == y.weight;
                            }) &&
         sorted(a.shapes) == sorted(b.shapes);
}

void checkStoring(const Fingerprint& model, std::string_view source, std::string_view sourcetype) {
  std::string text = renderHeader("stanza") + "\n";
  const auto settings = saveModel(model, source, sourcetype, "77.5");
  for (const auto& [key, entry] : settings.entries()) {
    text += renderSetting(key, entry.value) + "\n";
  }
  const ConfFile file("sourcetypes.conf", fileBytes(text));
  require(file.stanzas().size() == 1, "a model is one stanza");
  TextKeeper keeper;
  const auto loaded = loadModel("stanza", file.stanzas()[0].settings, "77", keeper);
  ModelView stored = viewOf(model, sourcetype, keeper);
  stored.maxDistance = 77.5F;
  require(loaded && sameModel(*loaded, stored), "a model loads as it was stored");
}

// Models in the program's index and as plain as can be.
struct Models {
  ModelIndex index;
  std::vector<PlainModel> plain;
  std::vector<std::string> sourcetypes;

  void add(const ModelView& model) {
    index.add(model);
    sourcetypes.emplace_back(model.sourcetype);
    auto& added = plain.emplace_back();
    added.maxDistance = model.maxDistance;
    for (const auto& word : model.words) {
      require(std::isfinite(word.weight), "a weight is finite");
      require(added.words.emplace(word.text, word.weight).second, "a word stands once");
    }
    for (const auto shape : model.shapes) added.shapes.emplace(shape);
  }
};

void checkCounts(const Models& models) {
  for (const auto& sourcetype : models.sourcetypes) {
    const auto count = std::ranges::count(models.sourcetypes, sourcetype);
    require(models.index.countModels(sourcetype) == static_cast<std::size_t>(count),
            "the models of a sourcetype are counted");
  }
}

void checkClosest(Models& models, const PlainModel& file, const Fingerprint& fingerprint) {
  constexpr float kTolerance = 1e-5F;
  std::vector<float> distances;
  distances.reserve(models.plain.size());
  for (const auto& model : models.plain) {
    distances.push_back(plainDistance(model, file, models.plain));
  }
  const auto best = std::ranges::min_element(distances);
  const auto found = models.index.findClosestModel(fingerprint);
  if (best == distances.end() || *best >= kInfiniteDistance) {
    require(!found || found->distance >= kInfiniteDistance * (1 - kTolerance),
            "no model is found where every one is far away");
    return;
  }
  const float margin = kTolerance * std::max(1.0F, *best);
  require(found && std::abs(found->distance - *best) <= margin, "the smallest distance is found");
  const bool isOneOfTheClosest = std::ranges::any_of(models.sourcetypes, [&](const auto& name) {
    const auto at = static_cast<std::size_t>(&name - models.sourcetypes.data());
    return name == found->sourcetype && distances[at] <= *best + 2 * margin;
  });
  require(isOneOfTheClosest, "the closest model is found");
}

}  // namespace

std::vector<std::string> seeds() {
  return {
      joined({"Error one=[two] (three)\nwarn, two; three\n",
              "[a]\n_sourcetype=a\nerror=0.5\nwarn=.25\n~_EQL7(L7)_()=1\n[b]\n_sourcetype=b\n"
              "two=1e-3\n~,_;_=2\nmaxDist=300\n[c]\n_sourcetype=c\nthree=-3e38\n_size=3\n"}),
      joined({"ignored words\n\tab abc abcdefghijklmnopqrst abcdefghijklmnopqrstu\n",
              "[default]\nmaxDist=1\n[m]\n_sourcetype=m\nmaxDist=nan\nwords=inf\nEQ=1\nL7(x=2\n"}),
      joined({repositoryFile("samples/dispatch.log").substr(0, 600),
              "[d]\n_sourcetype=d\n" + std::string("started=0.1\n~--_::_[-]_=1\n")})};
}

void run(std::string_view input) {
  Parts parts(input);
  const auto log = parts.next();
  const auto conf = parts.next();
  const Sample sample = readSampleText(log, {}, "text");
  const Fingerprint fingerprint =
      buildModel(sample, 0, sample.lineCount(), {std::string(kIgnored)});
  checkFingerprint(fingerprint, sample);

  const ConfFile file("sourcetypes.conf", fileBytes(conf));
  const auto* defaults = file.find(kDefaultStanza);
  const auto* limit = defaults == nullptr ? nullptr : defaults->find(kMaxDistKey);
  const auto inherited = limit == nullptr ? std::string_view() : limit->value();
  TextKeeper keeper;
  Models models;
  for (const auto& stanza : file.stanzas()) {
    const auto model = loadModel(stanza.name, stanza.settings, inherited, keeper);
    if (model) models.add(*model);
  }
  for (std::size_t part = 0; part < kLogParts; ++part) {
    const auto sourcetype = kSourcetypes[part % kSourcetypes.size()];
    const auto ofPart =
        buildModel(sample, part * sample.lineCount() / kLogParts,
                   (part + 1) * sample.lineCount() / kLogParts, {std::string(kIgnored)});
    checkStoring(ofPart, log, sourcetype);
    ModelView view = viewOf(ofPart, sourcetype, keeper);
    view.maxDistance = models.index.limitFor(view);
    models.add(view);
  }
  checkCounts(models);
  PlainModel plainFile;
  for (const auto& [word, weight] : fingerprint.words) plainFile.words[word] = weight;
  for (const auto& [shape, count] : fingerprint.shapes) plainFile.shapes.insert(storedShape(shape));
  checkClosest(models, plainFile, fingerprint);
}

}  // namespace sourcetype::fuzzing
