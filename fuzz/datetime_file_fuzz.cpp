// The configuration of timestamps. Input: datetime.xml and the lines of a log.
#include "support.h"
#include "timestamp/datetime_file.h"
#include "timestamp/timestamp_parser.h"
#include "timestamp/xml_libraries.h"

namespace sourcetype::fuzzing {

std::vector<std::string> seeds() {
  const std::string begin = "<?xml version='1.0'?><datetime>";
  const std::string lines = "2024-05-06 10:11:12,5 +01:00 x 7/8/99 1715000000 Mon May 6";
  const auto withStamp = [&](const std::string& entries, const std::string& stamp) {
    return joined({begin + entries + "<stamp name='s' " + stamp + "</stamp></datetime>", lines});
  };
  return {
      withStamp("<part name='y'>(?'year'\\d{4})</part>",
                "kind='date' begins='9999-'>{y}-(?'month'\\d\\d)-(?'day'\\d\\d)"),
      withStamp("<month number='5'>may</month><weekday>monday mon</weekday>",
                "kind='date' begins='month 99s' after='IWE'>(?'monthname'\\w+) (?'day'\\d+)"),
      withStamp("<zone names='CET X' offset='+01:00' summer='+02:00' from='3.last.0 02:00' "
                "until='10.last.0 03:00'/>",
                "kind='time' begins='99: 99,' alone='no'>(?'hour'\\d\\d):(?'minute'\\d\\d)"),
      withStamp("<words kind='epoch' side='before'>id number</words><keys>time ts</keys>",
                "kind='epoch' begins='9999999999-*' place='first'>(?'epoch'\\d{10})"),
      joined({"<!DOCTYPE d [<!ENTITY a 'aaaa'><!ENTITY b '&a;&a;&a;'>]><datetime>&b;</datetime>",
              lines}),
      joined({"<!DOCTYPE d SYSTEM 'datetime.xml'><datetime xmlns:x='y'><![CDATA[x]]><!-- "
              "--></datetime>",
              lines}),
      joined({begin + "<part name='a'>x</part><part name='b'>{a}{a}</part><part name='c'>{b}{b}"
                      "</part><stamp name='d' kind='whole' begins='9999-9/'>{c}&#65;&lt;</stamp>"
                      "</datetime>",
              lines})};
}

void run(std::string_view input) {
  static const XmlLibraries kLibraries;
  Parts parts(input);
  const auto formats = readDatetimeFile(tree().write("datetime.xml", parts.next()));
  for (const auto& form : formats.forms()) {
    const auto* expression = form.expression.get();
    require(expression == form.expression.get(), "an expression is compiled once");
    if (expression == nullptr) continue;
    for (const auto& group : expression->groups) {
      require(group.group <= expression->regex.groupCount(), "a field's group is there");
    }
  }
  TimestampParser parser(formats, {}, "fuzz", {});
  for (const auto line : linesOf(parts.rest())) {
    const auto stamp = parser.parse(line);
    require(!stamp || (0 <= stamp->main.start && stamp->main.start <= stamp->main.end &&
                       stamp->main.end <= static_cast<std::ptrdiff_t>(line.size())),
            "a span lies in its line");
  }
}

}  // namespace sourcetype::fuzzing
