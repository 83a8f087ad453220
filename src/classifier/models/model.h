// A learned model, and the stanza of sourcetypes.conf that keeps it.
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

// The setting that names the file that a model was learned from.
inline constexpr std::string_view kSourceKey = "_source";

// The setting that limits how far apart the words of a model and a file may be.
inline constexpr std::string_view kMaxDistKey = "maxDist";

// The word part of a distance beyond which the shapes of a model's lines are not compared any more,
// where its stanza names none.
inline constexpr float kNoMaxDistance = 9999.0F;

// A model as it is measured against files. Borrows its texts.
struct ModelView {
  struct Word {
    std::string_view text;
    float weight;
  };

  std::string_view sourcetype;
  float maxDistance = kNoMaxDistance;
  std::vector<Word> words;               // in ascending byte order
  std::vector<std::string_view> shapes;  // as storedShape() gives them
};

// A line shape as it stands in keys, and is compared: "[" is "L7(", "]" "L7)" and "=" "EQ". Shapes
// hold no letters, so no two of them are the same then.
std::string storedShape(std::string_view shape);

// A fingerprint as a model, with the weights that it will have after it was stored and loaded;
// `inherited` is the "maxDist" of the stanza "default". The texts of the result live as long as
// `model`, `sourcetype` and `keeper`.
ModelView viewOf(const Fingerprint& model, std::string_view sourcetype, std::string_view inherited,
                 TextKeeper& keeper);

// The settings of a model's stanza: "_sourcetype", "_source", the number of other settings under
// "_size", a weight of six decimals under each word, and a count under "~" and each shape. In keys
// "[" is written "L7(", "]" "L7)" and "=" "EQ".
PropertiesMap saveModel(const Fingerprint& model, std::string_view source,
                        std::string_view sourcetype);

// Reads a stanza's settings; `inherited` as above. Nothing, with
// the reason logged, for a stanza without "_sourcetype" and for one that holds less than it says: a
// write that was cut off. A weight that is no number reads as 0, and is logged. The texts of the
// result live as long as the settings and `keeper`.
std::optional<ModelView> loadModel(std::string_view stanza,
                                   std::span<const ConfFile::Setting> settings,
                                   std::string_view inherited, TextKeeper& keeper);

}  // namespace sourcetype
