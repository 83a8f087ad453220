#include "classifier/flow_observer.h"

namespace sourcetype {

std::string_view stageName(Stage stage) {
  switch (stage) {
    case Stage::Configured:
      return "configured";
    case Stage::Invalid:
      return "invalid";
    case Stage::TooSmall:
      return "too_small";
    case Stage::Rule:
      return "rule";
    case Stage::Model:
      return "model";
    case Stage::DelayedRule:
      return "delayed_rule";
    case Stage::NewSourcetype:
      return "new";
    case Stage::Unrecognised:
      break;
  }
  return "unrecognised";
}

}  // namespace sourcetype
