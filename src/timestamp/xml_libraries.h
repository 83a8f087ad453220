// Process-wide start-up and tear-down of libxml2 and libxslt.
#pragma once

#include <filesystem>

namespace sourcetype {

// After this, what the libraries complain about goes to the log category XmlParser, a line a
// record, and they open by name only regular files below `configurationRoot` (symbolic links
// followed first): documents, entities and DTDs alike, nothing from the network. What is refused is
// logged. A document handed over as text is not asked about; what it refers to is found beside it
// when the name handed over with it is a URI (xmlPathToURI). A libxml2 that is too old is logged as
// an error. Once it was called, further calls do nothing until cleanupXmlLibraries().
void initXmlLibraries(const std::filesystem::path& configurationRoot);

// Releases what the libraries hold; nothing of theirs may be used afterwards. Does nothing when
// they are not initialised.
void cleanupXmlLibraries();

// Both, for the length of a scope.
class XmlLibraries {
 public:
  explicit XmlLibraries(const std::filesystem::path& configurationRoot) {
    initXmlLibraries(configurationRoot);
  }
  XmlLibraries(const XmlLibraries&) = delete;
  XmlLibraries& operator=(const XmlLibraries&) = delete;
  ~XmlLibraries() { cleanupXmlLibraries(); }
};

}  // namespace sourcetype
