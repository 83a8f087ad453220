#include "inspect/report/report_page.h"

#include <fmt/core.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

#include "inspect/report/page_parts.h"
#include "inspect/report/script_text.h"
#include "inspect/scan/row_formats.h"
#include "inspect/version.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

std::string dataElement(std::string_view id, std::string_view text) {
  return fmt::format("<script type=\"application/json\" id=\"{}\">{}</script>\n", id, text);
}

Json findingJson(const Finding& finding) {
  return {{"level", levelName(finding.level)},
          {"file", pathToText(finding.place.file)},
          {"line", finding.place.line},
          {"message", finding.message}};
}

}  // namespace

void ReportPage::add(const ScanRow& row) {
  Json json = toJson(row);
  if (!row.details.empty()) {
    const bool isKept = details_.size() + row.details.size() <= kMaxDetailBytes;
    json["details"] = isKept;
    if (isKept) details_ += dataElement(fmt::format("file-{}", rowCount_), row.details);
  }
  if (rowCount_ > 0) rows_ += ",\n";
  rows_ += scriptText(json);
  ++rowCount_;
}

void ReportPage::setFindings(std::span<const Finding> findings) {
  findingCount_ = findings.size();
  const auto kept = findings.first(std::min(findings.size(), kMaxFindings));
  findings_.assign(kept.begin(), kept.end());
}

Json ReportPage::aboutJson() const {
  Json findings = Json::array();
  for (const auto& finding : findings_) findings.push_back(findingJson(finding));
  return {{"version", kVersion},           {"created", about_.created},      {"home", about_.home},
          {"paths", about_.paths},         {"interrupted", isInterrupted_},  {"summary", summary_},
          {"findingCount", findingCount_}, {"findings", std::move(findings)}};
}

std::string ReportPage::html() const {
  std::string html = fmt::format(
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
      "style-src 'sha256-{}'; script-src 'sha256-{}'; base-uri 'none'; form-action 'none'\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<title>sourcetype-inspect report</title>\n<style>{}</style>\n</head>\n<body>\n",
      kPageStyleHash, kPageScriptHash, kPageStyle);
  html += kPageBody;
  html += heatMap_ + "</main>\n";
  html += dataElement("about", scriptText(aboutJson()));
  html += dataElement("rows", "[" + rows_ + "]");
  html += details_;
  html += fmt::format("<script>{}</script>\n</body>\n</html>\n", kPageScript);
  return html;
}

}  // namespace sourcetype
