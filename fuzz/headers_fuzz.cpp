// Header lines, and the transforms they become. Input: the file's name, its sourcetype, props.conf,
// transforms.conf and the lines.
#include <algorithm>

#include "classifier/header_detector.h"
#include "classifier/header_fields.h"
#include "classifier/type_name.h"
#include "stanzas.h"
#include "support.h"

namespace sourcetype::fuzzing {
namespace {

void checkFields(const Sample& sample) {
  for (std::size_t i = 0; i < sample.lineCount(); ++i) {
    const auto line = sample.line(i);
    for (const char delimiter : kDelimiters) {
      const auto fields = splitFields(line, delimiter);
      std::string together;
      for (const auto field : fields) together.append(field) += delimiter;
      together.pop_back();
      require(together == line, "fields are all of a line");
      const auto names = nameFields(fields);
      require(names.size() == fields.size(), "every field has a name");
      for (const auto& name : names) {
        require(!name.empty() && name.find('"') == std::string_view::npos &&
                    name.find('\n') == std::string_view::npos && !name.ends_with('\\'),
                "a name fits between quotes");
        require(std::ranges::count(names, name) == 1, "names differ");
      }
    }
  }
}

PropertiesMap detect(std::string_view fileName, const Sample& sample, std::string_view sourcetype,
                     HeaderTest test) {
  ConfStore store(tree().root());
  PropertiesMap result{{"sourcetype", sourcetype}};
  detectHeader(fileName, sample, result, store, nullptr, test);
  return result;
}

std::vector<std::string> newStanzas(const Stanzas& before, const Stanzas& after) {
  auto added = addedStanzas(before, after, {"REPORT-AutoHeader", "KV_MODE"});
  require(added.size() <= 1, "one stanza is added at most");
  return added;
}

}  // namespace

std::vector<std::string> seeds() {
  const std::string rows = "id,name,total\n1,a,2\n2,\"b,c\",3\n";
  return {joined({"/x/orders.csv", "csv", "", "", rows}),
          joined({"/x/orders.csv", "csv", "[csv]\nREPORT-AutoHeader = AutoHeader-1\n",
                  "[AutoHeader-1]\nDELIMS = \",\"\nFIELDS = \"id\", \"name\", \"total\"\n", rows}),
          joined({"a.tsv", "tsv-2", "[tsv-2]\nREPORT-x = t, u\nk = v\n[tsv-2-1]\n",
                  "[t]\nFIELDS = a\n[default]\nDELIMS = \"\\t\"\n", "a\tb\ta\n1\t2\t3\n"}),
          joined({"a.csv!", "csv", "", "", "Title; 2020\n\n'n'|\"v\"\n1|\"a\nb\"\n2|\"c\"\n"}),
          joined({"w3c!", "csv", "", "", "#Fields: date time\n2020-01-01\t10:00:00\n"}),
          joined({"b.log", "too_small", "[too_small]\nx=1", "", "a;\"b\\\";]=[;\n;;;\n;;;\n"})};
}

void run(std::string_view input) {
  Parts parts(input);
  const auto fileName = parts.next();
  const auto sourcetype = parts.next();
  tree().clear();
  const auto propsText = parts.next();
  const auto transformsText = parts.next();
  // The program does not write to a file in UTF-16.
  if (findEncodingError(propsText) || findEncodingError(transformsText)) return;
  tree().write("system/local/props.conf", propsText);
  tree().write("system/local/transforms.conf", transformsText);
  const Sample sample = readSampleText(parts.rest(), {}, "text");
  checkFields(sample);

  // The last byte of the name chooses the test: mutations change it easily.
  const auto test = fileName.ends_with('!') ? HeaderTest::Names : HeaderTest::Delimiters;
  const auto propsBefore = stanzasOf("props");
  const auto transformsBefore = stanzasOf("transforms");
  const auto result = detect(fileName, sample, sourcetype, test);
  const auto props = stanzasOf("props");
  const auto transforms = stanzasOf("transforms");
  const auto& name = result.get("sourcetype");

  for (const auto& added : newStanzas(transformsBefore, transforms)) {
    require(added.starts_with("AutoHeader-"), "a new transform has a number");
  }
  for (const auto& added : newStanzas(propsBefore, props)) {
    require(added == name, "a new sourcetype is the result's");
    require(added == sourcetype || added.starts_with(std::string(sourcetype) + "-"),
            "a new sourcetype is named after the file's");
  }
  if (props == propsBefore && transforms == transformsBefore) return;
  const auto& links = props.at(name).get("REPORT-AutoHeader");
  const auto stanza =
      links.substr(links.rfind(", ") == std::string_view::npos ? 0 : links.rfind(", ") + 2);
  require(transforms.contains(stanza), "what is linked is there");
  require(!transforms.at(stanza).get("DELIMS").empty(), "a transform says what separates columns");

  const auto again = detect(fileName, sample, name, test);
  require(stanzasOf("props") == props && stanzasOf("transforms") == transforms,
          "a second file with these columns adds nothing");
  require(again.get("sourcetype") == name, "a second file with these columns has the sourcetype");
}

}  // namespace sourcetype::fuzzing
