// The page of a report. Input: any texts, which become names, problems, findings and the events of
// files.
#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "inspect/report/html_text.h"
#include "inspect/report/report_page.h"
#include "inspect/report/script_text.h"
#include "support.h"

namespace sourcetype::fuzzing {
namespace {

constexpr std::string_view kDataStart = R"(<script type="application/json" id=")";
constexpr std::string_view kDataEnd = "</script>";

// A page cut into its data and the rest.
struct CutPage {
  std::string frame;
  std::vector<std::string> data;
};

CutPage cut(std::string_view html) {
  CutPage page;
  for (auto start = html.find(kDataStart); start != std::string_view::npos;
       start = html.find(kDataStart)) {
    start = html.find('>', start) + 1;
    page.frame.append(html.substr(0, start));
    html.remove_prefix(start);
    const auto end = html.find(kDataEnd);
    page.data.emplace_back(html.substr(0, end));
    html.remove_prefix(end);
  }
  page.frame.append(html);
  return page;
}

std::string pageOf(const std::array<std::string, 5>& texts) {
  const auto& [name, type, problem, event, path] = texts;
  ReportPage page({.created = "2026-11-22T12:00:00Z", .home = path, .paths = {path, name}});
  ScanRow row;
  row.file = name;
  row.sourcetype = type;
  row.error = problem;
  row.details = scriptText({{"pieces", {event, name}}, {event, problem}});
  page.add(row);
  page.add(row);
  page.setSummary({{{"group", type}, {"files", {name}}}});
  const std::vector<Finding> findings{
      {.place = {.file = "a", .line = 1}, .level = Level::Error, .message = problem}};
  page.setFindings(findings);
  return page.html();
}

}  // namespace

std::vector<std::string> seeds() {
  return {joined({"a.log", "mine", "no such file", "2026-01-02 one", "logs"}),
          joined({"</script><script>x", "<!--", "-->", "<![CDATA[", "&lt;script&gt;"}),
          joined({"\xFF\xFE\x80", "\xF0\x9F\x98\x80", "\"\\\n\r\t\x01\x7F", "\xE2\x80\xA8", ""})};
}

void run(std::string_view input) {
  Parts parts(input);
  std::array<std::string, 5> texts;
  for (auto& text : texts) text = parts.next();
  const CutPage page = cut(pageOf(texts));
  static const CutPage kEmpty = cut(pageOf({}));
  require(page.frame == kEmpty.frame, "texts change only the data of a page");
  for (const auto& text : texts) {
    const auto html = htmlText(text);
    require(html.find_first_of("<>\"'") == std::string::npos && isCleanUtf8(html),
            "text in an element or an attribute has no markup");
  }
  std::vector<Json> data;
  for (const auto& text : page.data) {
    require(text.find('<') == std::string::npos, "no text ends the element that it is in");
    require(Json::accept(text), "the data of a page are JSON");
    data.push_back(Json::parse(text));
  }
  if (!std::ranges::all_of(texts, [](const auto& text) { return isCleanUtf8(text); })) return;
  const auto& [name, type, problem, event, path] = texts;
  const Json& rows = data[1];
  require(data[0]["paths"] == Json({path, name}) && data[0]["findings"][0]["message"] == problem,
          "what is said of all files is unchanged");
  require(rows.size() == 2 && rows[1]["file"] == name && rows[1]["sourcetype"] == type,
          "the row of a file is unchanged");
  require(data[3]["pieces"] == Json({event, name}), "the details of a file are unchanged");
}

}  // namespace sourcetype::fuzzing
