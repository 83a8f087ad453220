#include "inspect/report/heat_map.h"

#include <fmt/core.h>

#include <string_view>
#include <vector>

#include "inspect/report/html_text.h"

namespace sourcetype {
namespace {

std::string labelOf(const std::string& sourcetype) {
  return sourcetype.empty() ? "(not recognised)" : htmlText(sourcetype);
}

std::string cellHtml(const std::string& actual, const std::string& answered, std::size_t count,
                     std::size_t rowTotal) {
  if (count == 0) return "<td></td>";
  constexpr std::size_t kStrengths = 5;  // of colours in page.css
  const std::size_t strength = (count * kStrengths + rowTotal - 1) / rowTotal;
  return fmt::format(R"(<td class="{}-{}" title="{} as {}: {} of {}">{}</td>)",
                     actual == answered ? "right" : "wrong", strength, labelOf(actual),
                     labelOf(answered), count, rowTotal, count);
}

std::string headHtml(const std::vector<std::string>& answered) {
  std::string head = "<thead><tr><td></td>";
  for (const auto& name : answered) {
    head += fmt::format("<th scope=\"col\"><span>{}</span></th>", labelOf(name));
  }
  return head + "</tr></thead>\n";
}

}  // namespace

std::string heatMap(const Evaluation& evaluation) {
  const auto& [right, wrong, notRecognised] = evaluation.counts;
  const auto answered = evaluation.table.answered();
  std::string html = fmt::format(
      "<section id=\"evaluation\"><h2>How well files are recognised that were not learned</h2>\n"
      "<p>{} files in {} folds: {} right, {} wrong, {} not recognised. A row for each sourcetype "
      "of "
      "the files, a column for each answer.</p>\n<div class=\"wide\"><table "
      "class=\"heat\">{}<tbody>\n",
      evaluation.counts.total(), evaluation.folds, right, wrong, notRecognised, headHtml(answered));
  for (const auto& actual : evaluation.table.actual()) {
    const auto total = evaluation.table.filesOf(actual);
    html += fmt::format("<tr><th scope=\"row\">{}</th>", labelOf(actual));
    for (const auto& name : answered) {
      html += cellHtml(actual, name, evaluation.table.count(actual, name), total);
    }
    html += "</tr>\n";
  }
  return html + "</tbody></table></div></section>\n";
}

}  // namespace sourcetype
