// One file from its bytes to its properties, with learning. Input: the file's name, props.conf,
// sourcetypes.conf, whether its text comes a thousand lines long, and the text.
#include <algorithm>
#include <array>

#include "classifier/file_classifier_manager.h"
#include "classifier/type_name.h"
#include "stanzas.h"
#include "support.h"
#include "timestamp/xml_libraries.h"
#include "util/log_configuration.h"

namespace sourcetype::fuzzing {
namespace {

// A few forms, as all of the shipped ones would take most of the time.
constexpr std::string_view kDatetime = R"(<datetime>
<stamp name='date' kind='date' begins='9999-'>(?'year'\d{4})-(?'month'\d\d)-(?'day'\d\d)</stamp>
<stamp name='time' kind='time' begins='99:'>(?'hour'\d\d):(?'minute'\d\d):(?'second'\d\d)</stamp>
</datetime>)";

// Every message is made, and none is written.
constexpr std::string_view kLogging = "rootCategory=DEBUG\n";

struct Configuration {
  Stanzas props = stanzasOf("props");
  Stanzas transforms = stanzasOf("transforms");
  Stanzas models = stanzasOf("sourcetypes");
};

std::string fileNameFrom(std::string_view text) {
  std::string name(text.substr(0, 100));
  std::erase_if(name, [](char c) { return c == '/' || c == '\0'; });
  return name.empty() || name == "." || name == ".." ? "file.log" : name;
}

PropertiesMap classify(const std::filesystem::path& path) {
  ConfStore store(tree().root());
  FileClassifierManager manager(store);
  PropertiesMap result;
  manager.findTypeForFile(result, {.path = path});
  return result;
}

std::vector<std::string> addedTo(const Stanzas& before, const Stanzas& after) {
  return addedStanzas(before, after, {"REPORT-AutoHeader", "KV_MODE", "maxDist"});
}

void checkWrites(const Configuration& before, const Configuration& after,
                 const std::string& sourcetype, const std::string& typeName) {
  for (const auto& name : addedTo(before.props, after.props)) {
    if (name == "default") continue;                          // "maxDist"
    if (name == "too_small" && name == sourcetype) continue;  // without PREFIX_SOURCETYPE
    require(!isSpecialStanza(name), "a made-up name is never special");
    require(name == sourcetype || sourcetype.starts_with(name + "-") || name.starts_with(typeName),
            "a new stanza is the sourcetype's");
  }
  for (const auto& name : addedTo(before.transforms, after.transforms)) {
    require(name.starts_with("AutoHeader-"), "a new transform has a number");
  }
  for (const auto& name : addedTo(before.models, after.models)) {
    const auto& learned = after.models.at(name).get("_sourcetype");
    require(learned == sourcetype || sourcetype.starts_with(learned + "-"),
            "a new model is the sourcetype's");
  }
  constexpr std::array<std::string_view, 5> kMayBeThere{
      "system/", "apps/learned/local/sourcetypes.conf", "logs/", "datetime.xml", "log.cfg"};
  for (const auto& file : tree().files()) {
    require(std::ranges::any_of(kMayBeThere,
                                [&](std::string_view start) { return file.starts_with(start); }),
            "files are written where they belong");
  }
}

}  // namespace

std::vector<std::string> seeds() {
  const auto sample = repositoryFile("samples/dispatch.log").substr(0, 800);
  const std::string byMark = "[default]\nCHARSET = auto\n";
  return {
      joined({"dispatch.log", byMark, "", "0", sample}),
      joined({"dispatch.log", byMark, "", "1", sample}),
      joined({"a.csv", "[source::....csv]\nCHECK_FOR_HEADER = true\nsourcetype = csv\n", "", "0",
              "a,b\n1,2\n"}),
      joined({"x", "[rule::r]\nsourcetype=r\nMORE_THAN_10=^a\n[delayedrule::d]\nsourcetype=d\n",
              "[m]\n_sourcetype=m\nalpha=0.5\nbeta=0.5\n~_=1\n", "0", "alpha beta\n"}),
      joined({"rule::x.log.1", "[x]\n[too_small]\nPREFIX_SOURCETYPE=false\n", "", "0",
              "\xFF\xFE\x41"}),
      joined({"y",
              "[default]\nCHECK_FOR_HEADER=1\nTIME_PREFIX=(\nTZ=+1\n[file]\nLEARN_MODEL=false\n",
              "", "1", "START x\n  2024-05-06 10:11:12 b\nEND;y\n"}),
      joined({"z.log", "[source::...z*]\nNO_BINARY_CHECK=true\nCHARSET=SHIFT_JIS\npriority=5\n", "",
              "1", std::string("\0\x81\x40\r\n", 5)})};
}

void run(std::string_view input) {
  tree().clear();
  static const XmlLibraries kLibraries;
  static const auto kProblem = configureLogging(tree().write("log.cfg", kLogging), {});
  require(kProblem.empty(), "logging is configured");
  Parts parts(input);
  const std::string name = fileNameFrom(parts.next());
  const std::string props(parts.next());
  if (findEncodingError(props)) return;  // a new sourcetype is then not written
  tree().write("datetime.xml", kDatetime);
  tree().write("system/local/props.conf", props);
  tree().write("apps/learned/local/sourcetypes.conf", parts.next());
  const std::size_t lines = parts.nextBelow(2) == 0 ? 105 : 1005;
  const auto text = parts.rest();
  std::string content(text);
  const auto linesOfText = std::max<std::size_t>(linesOf(text).size(), 1);
  // A text of a single line is not repeated, so that small files are tried too.
  for (std::size_t count = linesOfText; linesOfText > 1 && count < lines; count += linesOfText) {
    content += text;
  }
  const auto path = tree().write("logs/" + name, content);

  const Configuration before;
  const auto result = classify(path);
  const auto& sourcetype = result.get("sourcetype");
  const bool mayBeUnknown = props.find("LEARN_SOURCETYPE") != std::string_view::npos;
  require(mayBeUnknown || !sourcetype.empty(), "a file has a sourcetype");
  require(mayBeUnknown || result.contains("is_valid"), "a result says whether it is valid");
  const Configuration after;
  checkWrites(before, after, sourcetype, makeTypeName(path.string(), nativePathForm()));

  classify(path);
  const Configuration later;
  require(addedTo(after.props, later.props).empty(), "the file again is no new sourcetype");
  require(addedTo(after.transforms, later.transforms).empty(), "the file again has no new columns");
}

}  // namespace sourcetype::fuzzing
