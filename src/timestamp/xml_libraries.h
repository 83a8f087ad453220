// Process-wide start-up and tear-down of libxml2 and libxslt.
#pragma once

namespace sourcetype {

// Initialises the libraries. Afterwards their messages are records of the log category XmlParser, a
// line each, and every document, entity or DTD that is named in XML is refused and logged: only
// text that the program hands over is parsed. A libxml2 that is too old is logged as an error.
// Further calls do nothing until cleanupXmlLibraries().
void initXmlLibraries();

// Releases the memory of the libraries; their objects must not be used afterwards. Does nothing if
// they are not initialised.
void cleanupXmlLibraries();

// Initialises the libraries for the length of a scope.
class XmlLibraries {
 public:
  XmlLibraries() { initXmlLibraries(); }
  XmlLibraries(const XmlLibraries&) = delete;
  XmlLibraries& operator=(const XmlLibraries&) = delete;
  ~XmlLibraries() { cleanupXmlLibraries(); }
};

}  // namespace sourcetype
