#include "timestamp/xml_libraries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/path_form.h"
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
    initXmlLibraries();
  }
  ~XmlLibraries() override { cleanupXmlLibraries(); }

  std::string log() const { return tree_.read("log"); }

  TempTree tree_;
};

TEST_F(XmlLibraries, ReadNoFileThatXmlNames) {
  const auto secret = tree_.write("secret.xml", "<s>secret</s>");
  const auto path = secret.generic_string();
  const auto* const scheme = path.starts_with('/') ? "file://" : "file:///";
  for (const auto& name : {path, scheme + path, std::string("http://127.0.0.1:9/x.xml")}) {
    tree_.write("log", "");
    const auto document = "<!DOCTYPE d [<!ENTITY e SYSTEM \"" + name + "\">]><d>&e;</d>";
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> parsed(
        xmlReadMemory(document.data(), static_cast<int>(document.size()), nullptr, nullptr,
                      XML_PARSE_NOENT),
        xmlFreeDoc);
    ASSERT_NE(parsed, nullptr) << name;
    EXPECT_EQ(xmlDocGetRootElement(parsed.get())->children, nullptr) << name;
    EXPECT_THAT(log(), HasSubstr("Refused to read")) << name;
    EXPECT_EQ(xmlReadFile(name.c_str(), nullptr, 0), nullptr) << name;
  }
}

TEST_F(XmlLibraries, LogAParseErrorWithItsPlace) {
  const std::string_view broken = "<a>\n<b></a>";
  EXPECT_EQ(xmlReadMemory(broken.data(), static_cast<int>(broken.size()), "x.xml", nullptr, 0),
            nullptr);
  EXPECT_THAT(log(), ::testing::StartsWith("ERROR XmlParser x.xml:2: "));
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
  initXmlLibraries();
  cleanupXmlLibraries();
  cleanupXmlLibraries();
  initXmlLibraries();
  xmlGenericError(xmlGenericErrorContext, "again\n");
  EXPECT_EQ(log(), "ERROR XmlParser again\n");
}

}  // namespace
}  // namespace sourcetype
