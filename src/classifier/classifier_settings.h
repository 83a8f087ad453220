// The classifier's own settings, from source-classifier.conf.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "conf/conf_store.h"

namespace sourcetype {

// Read when first asked for: a file whose sourcetype is settled by configuration never needs them.
class ClassifierSettings {
 public:
  using Keywords = std::set<std::string, std::less<>>;

  explicit ClassifierSettings(ConfStore& store) : store_(store) {}

  // Words that models leave out.
  const Keywords& ignoredModelKeywords() { return loaded().model; }
  // Words of file names that say nothing about the content.
  const Keywords& ignoredFilenameKeywords() { return loaded().filename; }

 private:
  struct Values {
    Keywords model;
    Keywords filename;
  };
  const Values& loaded();

  ConfStore& store_;
  std::optional<Values> values_;
};

}  // namespace sourcetype
