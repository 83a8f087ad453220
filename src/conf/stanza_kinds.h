// The kinds of stanzas in props.conf and sourcetypes.conf. The beginning of a name shows the kind;
// any other name is that of a sourcetype.
#pragma once

#include <string_view>

namespace sourcetype {

// Between the kind and the rest of the name: "source::/var/log/messages".
inline constexpr std::string_view kKindSeparator = "::";

inline constexpr std::string_view kSourceKind = "source::";  // settings of files, by their path
inline constexpr std::string_view kHostKind = "host::";      // settings of files, by their host
inline constexpr std::string_view kRuleKind = "rule::";      // is tried before the learned models
inline constexpr std::string_view kDelayedRuleKind = "delayedrule::";  // is tried after them
inline constexpr std::string_view kEventtypeKind = "eventtype::";      // belongs to the server

// The stanza that contains the settings before the first header. It completes every other stanza.
inline constexpr std::string_view kDefaultStanza = "default";

// The sourcetype of all files with too few lines for a model, and the stanza of its settings.
inline constexpr std::string_view kTooSmallSourcetype = "too_small";

}  // namespace sourcetype
