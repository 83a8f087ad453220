// A learned model, and its stanza in sourcetypes.conf.
//
//   PropertiesMap settings = saveModel(buildModel(...), fileName, sourcetype);  // to be written
//   std::optional<ModelView> model = loadModel(stanza, settingsRead, inherited, keeper);
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "classifier/models/fingerprint.h"
#include "conf/conf_file.h"
#include "conf/properties_map.h"

namespace sourcetype {

// The settings that name the file that a model was learned from, and its sourcetype.
inline constexpr std::string_view kSourceKey = "_source";
inline constexpr std::string_view kSourcetypeKey = "_sourcetype";

// The setting that says how many other settings the stanza has, without kMaxDistKey.
inline constexpr std::string_view kSizeKey = "_size";

// The first byte of the key of a shape. No word begins with it, and all words sort before it.
inline constexpr char kShapePrefix = '~';

// The setting that limits the distance between the words of a model and those of a file. Beyond
// this limit the model is infinitely far away, and the shapes of lines are not compared.
inline constexpr std::string_view kMaxDistKey = "maxDist";

// The limit of a model without that setting.
inline constexpr float kNoMaxDistance = 9999.0F;

// A model in the form that a ModelIndex is built from. Does not own its texts.
struct ModelView {
  struct Word {
    std::string_view text;
    float weight;
  };

  std::string_view sourcetype;
  float maxDistance = kNoMaxDistance;
  std::vector<Word> words;               // in ascending byte order
  std::vector<std::string_view> shapes;  // as storedShape() returns them
};

// Reads a "maxDist". Returns nothing unless it is a number above 0.
std::optional<float> parseLimit(std::string_view text);

// Returns a line shape in the form in which it is stored and compared: "[" becomes "L7(", "]"
// becomes "L7)" and "=" becomes "EQ". Shapes contain no letters, so different shapes have different
// stored forms.
std::string storedShape(std::string_view shape);

// Returns a fingerprint as a model. Its weights are rounded to six decimals, as those of a model
// that was stored and loaded. The texts of the result live as long as `model`, `sourcetype` and
// `keeper`.
ModelView viewOf(const Fingerprint& model, std::string_view sourcetype, TextKeeper& keeper);

// Returns the settings of a model's stanza:
// - "_source" is the file, "_sourcetype" the sourcetype
// - the key of a word is the word, its value the weight with six decimals
// - the key of a shape is "~" and the shape, its value the number of lines
// - "_size" is the number of the settings above
// - "maxDist" is `maxDistance`; it can be changed or removed by hand
// All keys are escaped as storedShape() escapes shapes.
PropertiesMap saveModel(const Fingerprint& model, std::string_view source,
                        std::string_view sourcetype, std::string_view maxDistance);

// Reads the settings of a model's stanza. Returns nothing, and logs the reason, when "_sourcetype"
// is missing or unusable, or when there are fewer settings than "_size" says, because a write was
// cut off or settings were removed. A weight that is not a number counts as 0, and is logged.
// `inherited` is the "maxDist" of the stanza "default", empty without one. The texts of the result live as long as the settings and `keeper`.
std::optional<ModelView> loadModel(std::string_view stanza,
                                   std::span<const ConfFile::Setting> settings,
                                   std::string_view inherited, TextKeeper& keeper);

}  // namespace sourcetype
