// The built executable where only Windows can bring it.

#include <fmt/core.h>
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <string>

#include "platform/path_form.h"
#include "platform/windows_api.h"
#include "support/process.h"

namespace sourcetype {
namespace {

using sourcetype::testing::Installation;
using sourcetype::testing::repeated;
using sourcetype::testing::valueOf;

bool saysCause(const Installation& server, const std::string& file, const std::string& cause) {
  const auto run = server.run({file});
  return run.out.find("\tinvalid_cause -> " + cause + "\n") != std::string::npos;
}

TEST(LogFile, OpenedExclusivelyCannotBeRead) {
  const Installation server;
  const auto file = server.write("a.log", repeated("line\n", 150));
  const HANDLE owner =
      CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(owner, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(saysCause(server, "a.log", "cannot_read"));
  CloseHandle(owner);
}

TEST(LogFile, BeingWrittenIsClassified) {
  const Installation server;
  const auto file = server.write("orders.log", repeated("2026-01-02 03:04:05 line\n", 150));
  const HANDLE writer =
      CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(writer, INVALID_HANDLE_VALUE);
  EXPECT_NE(server.run({"orders.log"}).out.find("sourcetype -> orders\n"), std::string::npos);
  CloseHandle(writer);
}

TEST(Argument, IsNoPattern) {
  const Installation server;
  server.write("a.log", "");
  EXPECT_EQ(server.run({"*.log"}).out.substr(0, 20), "PROPERTIES OF *.log\n");
}

TEST(Argument, MayBeAnExtendedPath) {
  const Installation server;
  const auto file = server.write("orders.log", repeated("2026-01-02 03:04:05 line\n", 150));
  const std::string prefix = R"(\\?\)";
  const auto run = server.run({prefix + pathToText(file)}, {}, prefix + pathToText(server.root()));
  EXPECT_NE(run.out.find("sourcetype -> orders\n"), std::string::npos) << run.out << run.err;
}

TEST(DeviceName, IsNoLogFile) {
  const Installation server;
  EXPECT_TRUE(saysCause(server, "NUL", "not_regular_file"));
  for (const char* name : {"CON", "COM1", R"(\\.\pipe\none)"}) {
    EXPECT_TRUE(saysCause(server, name, "not_regular_file") ||
                saysCause(server, name, "failed_stat"))
        << name;
  }
}

// A log as Windows writes it: UTF-16 with a byte-order mark and CR LF.
void writeUtf16(const std::filesystem::path& file, const std::string& ascii) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary);
  out << "\xFF\xFE";
  for (const char c : ascii) {
    if (c == '\n') out.write("\r\0", 2);
    out.put(c).put('\0');
  }
  EXPECT_TRUE(out.good());
}

// `event` holds "{0}" for a number below 60 and "{1}" for one of the line.
struct ExportedLog {
  const char* sourcetype;
  const char* head;
  const char* event;
};

TEST(ExportedLogs, AreRecognisedBelowLongNames) {
  const std::array logs{
      ExportedLog{
          "windows_event_xml",
          "<?xml version=\"1.0\" encoding=\"utf-16\" standalone=\"yes\"?>\n<Events>",
          "<Event xmlns='http://schemas.microsoft.com/win/2004/08/events/event'><System>"
          "<Provider Name='Service Control Manager'/><EventID>{1}</EventID><TimeCreated "
          "SystemTime='2026-03-04T05:{0:02}:06.1234567Z'/><EventRecordID>{1}</EventRecordID>"
          "<Channel>System</Channel><Computer>pc</Computer></System></Event>\n"},
      ExportedLog{"windows_event_text", "",
                  "Event[{1}]:\n  Log Name: System\n  Source: Service Control Manager\n  Date: "
                  "2026-03-04T05:{0:02}:06.123\n  Event ID: 7036\n  Task: N/A\n  Level: "
                  "Information\n  Opcode: Info\n  Keyword: Classic\n  User: N/A\n  User Name: "
                  "N/A\n  Computer: pc\n  Description: \nThe service entered the running state.\n"},
      ExportedLog{"windows_servicing", "",
                  "2026-03-04 05:{0:02}:06, Info                  CBS    Session: 3113{1}_7 "
                  "initialized by client WindowsUpdateAgent.\n"},
      ExportedLog{"web_iis",
                  "#Software: Microsoft Internet Information Services 10.0\n#Version: 1.0\n#Date: "
                  "2026-03-04 05:00:00\n#Fields: date time s-ip cs-method cs-uri-stem cs-uri-query "
                  "s-port cs-username c-ip cs(User-Agent) cs(Referer) sc-status sc-substatus "
                  "sc-win32-status time-taken\n",
                  "2026-03-04 05:{0:02}:06 10.0.0.1 GET /page{1}.htm - 443 - 10.0.0.9 "
                  "Mozilla/5.0+(Windows) - 200 0 0 {1}\n"},
      ExportedLog{
          "windows_dhcp",
          "\t\tMicrosoft DHCP Service Activity Log\n\n\nEvent ID  Meaning\n00\tThe log was "
          "started.\n10\tA new IP address was leased to a client.\n\nID,Date,Time,"
          "Description,IP Address,Host Name,MAC Address,User Name, TransactionID, QResult\n",
          "11,03/04/26,05:{0:02}:06,Renew,192.168.1.{0},pc{1}.example.local,00155D01{0:02}AB,"
          ",{1},0,,,,,,,,,0\n"}};
  const Installation server;
  // Longer than the 260 characters that a path may have without the prefix for long ones.
  const std::string folder(100, 'x');
  const std::string name = folder + "/B\xC3\xBCro/" + folder + "/" + folder +
                           "/\xC3\x9C"
                           "bersicht.log";
  const auto file = pathFromText(R"(\\?\)" + pathToText(server.path(name)));
  for (const auto& log : logs) {
    std::string text = log.head;
    for (int i = 0; i < 150; ++i) text += fmt::format(fmt::runtime(log.event), i % 60, i);
    writeUtf16(file, text);
    for (const auto& word : {name, pathToText(file)}) {
      const auto run = server.run({word});
      EXPECT_EQ(valueOf(run.out, "sourcetype"), log.sourcetype) << word << run.out << run.err;
    }
  }
}

}  // namespace
}  // namespace sourcetype
