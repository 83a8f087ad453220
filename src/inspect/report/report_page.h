// The page that a report is: HTML with its style and its script, which needs no other file.
//
//   ReportPage page({.created = "2026-11-22T12:00:00Z", .paths = {"logs"}});
//   page.add(row);  // in the order of the files
//   page.setSummary(summary.toJson());
//   replaceFile(target, page.html());
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "inspect/check/findings.h"
#include "inspect/output.h"
#include "inspect/scan/scan_row.h"

namespace sourcetype {

// Texts from files are in JSON, which the script of the page shows as text, and names of
// sourcetypes are also in the heat map, as htmlText(). A content security policy forbids any other
// script, and everything from elsewhere.
class ReportPage {
 public:
  // The details of further files are left out. A browser opens a page of this size in a second.
  static constexpr std::size_t kMaxDetailBytes = 16'000'000;
  static constexpr std::size_t kMaxFindings = 2000;

  struct About {
    std::string created;  // an instant
    std::string home;     // the server's root
    std::vector<std::string> paths;
  };
  explicit ReportPage(About about) : about_(std::move(about)) {}

  // `row.details` is the result of scriptText(), or empty.
  void add(const ScanRow& row);
  // What a scan prints after its rows.
  void setSummary(std::vector<Json> summary) { summary_ = std::move(summary); }
  void setFindings(std::span<const Finding> findings);
  // The result of heatMap().
  void setHeatMap(std::string html) { heatMap_ = std::move(html); }
  void setInterrupted() { isInterrupted_ = true; }

  std::size_t fileCount() const { return rowCount_; }
  std::string html() const;

 private:
  Json aboutJson() const;

  About about_;
  std::string rows_;     // JSON objects with commas between them
  std::string details_;  // elements, one a file
  std::size_t rowCount_ = 0;
  std::vector<Json> summary_;
  std::string heatMap_;
  std::vector<Finding> findings_;
  std::size_t findingCount_ = 0;
  bool isInterrupted_ = false;
};

}  // namespace sourcetype
