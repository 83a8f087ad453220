#include "main/xml_libraries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <memory>
#include <utility>
#include <vector>

#include "platform/path_form.h"
#include "support/system.h"
#include "support/temp_tree.h"
#include "util/log_configuration.h"

namespace sourcetype {
namespace {

using ::testing::HasSubstr;
using testing::TempTree;

class XmlLibraries : public ::testing::Test {
 protected:
  XmlLibraries() {
    const auto configuration = tree_.write(
        "log.cfg",
        "rootCategory=WARN,A\nappender.A=FileAppender\nappender.A.fileName=${ROOT}/log\n"
        "appender.A.layout=PatternLayout\nappender.A.layout.ConversionPattern=%p %c %m%n\n");
    EXPECT_EQ(configureLogging(configuration, {{"ROOT", pathToText(tree_.root())}}), "");
    tree_.write("etc/inside.xml", "<i>inner</i>");
    initXmlLibraries(tree_.path("etc"));
  }
  ~XmlLibraries() override { cleanupXmlLibraries(); }

  // The text of a document in the configuration whose only content is the entity at `systemId`.
  std::string textOfEntity(const std::string& systemId) const {
    const std::string document = "<!DOCTYPE d [<!ENTITY e SYSTEM \"" + systemId + "\">]><d>&e;</d>";
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> parsed(
        xmlReadMemory(document.data(), static_cast<int>(document.size()),
                      uriOf("etc/document.xml").c_str(), nullptr, XML_PARSE_NOENT),
        xmlFreeDoc);
    if (parsed == nullptr) return "";
    xmlChar* text = xmlNodeGetContent(xmlDocGetRootElement(parsed.get()));
    std::string result(reinterpret_cast<char*>(text));
    xmlFree(text);
    return result;
  }
  // "file:///tmp/x" or "file:///C:/x".
  std::string uriOf(std::string_view relative) const {
    const auto path = tree_.path(relative).generic_string();
    return (path.starts_with('/') ? "file://" : "file:///") + path;
  }
  std::string log() const { return tree_.read("log"); }

  TempTree tree_;
};

TEST_F(XmlLibraries, ReadEntitiesInsideTheConfiguration) {
  tree_.write("etc/a b/c.xml", "<i>blank</i>");
  EXPECT_EQ(textOfEntity("inside.xml"), "inner");
  EXPECT_EQ(textOfEntity("a%20b/c.xml"), "blank");
  EXPECT_EQ(textOfEntity(uriOf("etc") + "/a%20b/../inside.xml"), "inner");
  if (testing::kHasSymbolicLinks) {
    std::filesystem::create_symlink("inside.xml", tree_.path("etc/link.xml"));
    EXPECT_EQ(textOfEntity("link.xml"), "inner");
  }
  EXPECT_EQ(log(), "");
}

TEST_F(XmlLibraries, RefuseAndLogEveryOtherEntity) {
  const auto outside = tree_.write("outside.xml", "<o>secret</o>");
  tree_.write("etc-not/outside.xml", "<o>secret</o>");
  std::filesystem::create_directory(tree_.path("etc/a.directory"));
  std::vector<std::pair<std::string, const char*>> refused{
      {outside.generic_string(), "outside the configuration"},
      {uriOf("outside.xml"), "outside the configuration"},
      {"../outside.xml", "outside the configuration"},
      {"../etc-not/outside.xml", "outside the configuration"},
      {"%2e%2e/outside.xml", "outside the configuration"},
      {"a.directory", "not a regular file"},
      {"none.xml", "no such file"},
      {"http://127.0.0.1:9/x.xml", "not a local file"},
      {"ftp://127.0.0.1:9/x.xml", "not a local file"},
      {"file://host/x.xml", "not a local file"},
  };
  if (testing::kHasSymbolicLinks) {
    std::filesystem::create_symlink("../outside.xml", tree_.path("etc/link.xml"));
    refused.emplace_back("link.xml", "outside the configuration");
  }
  if (testing::kHasFifos) {
    testing::makeFifo(tree_.path("etc/fifo"));
    refused.emplace_back("fifo", "not a regular file");
  }
  for (const auto& [systemId, reason] : refused) {
    tree_.write("log", "");
    EXPECT_EQ(textOfEntity(systemId), "") << systemId;
    EXPECT_THAT(log(), HasSubstr(reason)) << systemId;
  }
}

TEST_F(XmlLibraries, OpenDocumentsByNameInsideTheConfigurationOnly) {
  tree_.write("outside.xml", "<o/>");
  xmlFreeDoc(xmlReadFile(pathToText(tree_.path("etc/inside.xml")).c_str(), nullptr, 0));
  EXPECT_EQ(log(), "");
  EXPECT_EQ(xmlReadFile(pathToText(tree_.path("outside.xml")).c_str(), nullptr, 0), nullptr);
  EXPECT_THAT(log(), HasSubstr("outside the configuration"));
}

TEST_F(XmlLibraries, LogAParseErrorWithItsPlace) {
  const auto broken = tree_.write("etc/broken.xml", "<a>\n<b></a>");
  EXPECT_EQ(xmlReadFile(pathToText(broken).c_str(), nullptr, 0), nullptr);
  EXPECT_THAT(log(), ::testing::StartsWith("ERROR XmlParser " + pathToText(broken) + ":2: "));
}

TEST_F(XmlLibraries, LogAMessageThatComesInPiecesAsOneRecord) {
  xmlGenericError(xmlGenericErrorContext, "%s: ", "first");
  xmlGenericError(xmlGenericErrorContext, "%d\n", 2);
  EXPECT_EQ(log(), "ERROR XmlParser first: 2\n");
  xmlGenericError(xmlGenericErrorContext, "unfinished");
  cleanupXmlLibraries();
  EXPECT_EQ(log(), "ERROR XmlParser first: 2\nERROR XmlParser unfinished\n");
}

TEST_F(XmlLibraries, StartAndStopAsOftenAsAsked) {
  initXmlLibraries("/nowhere");
  EXPECT_EQ(textOfEntity("inside.xml"), "inner") << "a second start changes nothing";
  cleanupXmlLibraries();
  cleanupXmlLibraries();
  initXmlLibraries(tree_.path("etc"));
  EXPECT_EQ(textOfEntity("inside.xml"), "inner");
  cleanupXmlLibraries();
  initXmlLibraries(tree_.path("none"));
  EXPECT_EQ(textOfEntity("inside.xml"), "") << "nothing is inside a tree that is not there";
}

}  // namespace
}  // namespace sourcetype
