#!/usr/bin/env perl
# Writes src/timestamp/time_zone_table.h from the time zone database.
#   make_time_zones.pl [TZDATA]  prints the file
#   make_time_zones.pl --check FILE [TZDATA]
#                                fails unless FILE is what would be printed; a database that is
#                                missing or has another version is no failure
# TZDATA is tzdata.zi, by default /usr/share/zoneinfo/tzdata.zi (Debian's package tzdata).
#
# Each zone has one rule: the one of today, for every year. Where the table cannot say it:
# - Zones without a rule for all years to come have standard time only: Africa/Casablanca and
#   Africa/El_Aaiun (their clocks follow Ramadan) have +01:00.
# - "The first Sunday from the 2nd on" (Chile) counts as the first Sunday; "Friday from the 23rd on"
#   (Israel) as the fourth Friday, and "the last Saturday up to the 30th" (Palestine) as the last
#   Saturday. Each is a week off in at most one year of seven.
use strict;
use warnings;

# Names that tzdata does not have: letters of national bodies, and those that tzdata has replaced by
# numbers ("+05"). Systems with older data still write them. Minutes.
my %more_letters = (
  # German and old names of Central European Time; MEZ is today's clock of Berlin.
  MEZ => 'Europe/Berlin', MESZ => 120, METDST => 120,
  # Russia and its neighbours
  MSD => 240, SAMT => 240, YEKT => 300, OMST => 360, NOVT => 420, KRAT => 420, IRKT => 480,
  YAKT => 540, VLAT => 600, MAGT => 660, SAKT => 660, SRET => 660, PETT => 720, ANAT => 720,
  FET => 180, VOLT => 180, YEKST => 360, OMSST => 420, NOVST => 420, KRAST => 480, IRKST => 540,
  CHOT => 480, CHOST => 540, YAKST => 600, VLAST => 660, MAGST => 720, PETST => 720, ANAST => 720,
  GET => 240, AZST => 300, QYZT => 300, AQTT => 300, ORAT => 300, KUYT => 240,
  AZT => 240, UZT => 300, TMT => 300, TJT => 300, ALMT => 300, KGT => 360,
  # Asia
  TRT => 180, IRST => 210, IRDT => 270, GST => 240, AFT => 270, NPT => 345, BTT => 360, MMT => 390,
  BDT => 360, IOT => 360, BIOT => 360, CCT => 390, MVT => 300, SLST => 330, TLT => 540, TST => 480,
  ULAST => 540, HOVST => 480, PHST => 480, ICT => 420, THA => 420, HOVT => 420, SGT => 480, MYT => 480, PHT => 480, BNT => 480, ULAT => 480,
  # America and the islands of the Atlantic
  ART => -180, BRT => -180, BRST => -120, CLT => -240, CLST => -180, PYT => -180, UYT => -180,
  GFT => -180, AZOT => -60, AZOST => 0, CVT => -60, EGT => -120, EGST => -60, FKT => -180,
  FKST => -180, FNT => -120, WGT => -120, WGST => -60, PMST => -180, PMDT => -120, PYST => -180,
  ROTT => -180, SRT => -180, UYST => -120, WARST => -180, ACT => -300, AMT => -240, AMST => -180,
  BOT => -240, CIST => -480, COT => -300, COST => -240, EASST => -300, EAST => -360, ECT => -300,
  GALT => -360, GYT => -240, PET => -300, VET => -240,
  CT => 'America/Chicago', ET => 'America/New_York', MT => 'America/Denver',
  PT => 'America/Los_Angeles', NT => 'America/St_Johns', HAST => -600, HADT => -540,
  # Africa and the Indian Ocean
  WAST => 120, CXT => 420, DFT => 60, HAEC => 120, HMT => 300, KALT => 120, MUT => 240,
  RET => 240, SCT => 240, TFT => 300,
  # Antarctica
  DAVT => 420, DDUT => 600, MAWT => 300, SYOT => 180, VOST => 300,
  # Oceania
  LHST => 630, LHDT => 660, CHAST => 765, CHADT => 825, FJT => 720,
  ACWST => 525, CWST => 525, AET => 'Australia/Sydney', BIT => -720, CHUT => 600, CKT => -600, FJST => 780,
  GAMT => -540, GILT => 720, GIT => -540, IDLW => -720, KOST => 660, LINT => 840, MART => -570,
  MHT => 720, MIST => 660, MIT => -570, NCT => 660, NFT => 660, NRT => 720, NUT => -660,
  PGT => 600, PHOT => 780, PONT => 660, PWT => 540, SBT => 660, SDT => -600, TAHT => -600,
  TKT => 780, TOT => 780, TOST => 840, TVT => 720, VUT => 660, WAKT => 720, WFT => 720,
  WST => 780, YAPT => 600,
);

# Letters that tzdata gives two meanings, and the one that a log most likely means.
my %decided = (
  IST => 330,   # India; Ireland and Israel are small beside it
  BST => 60,    # the summer time of Britain
  CST => -360,  # RFC 2822; also China's and Cuba's
  CDT => -300,  # RFC 2822; also Cuba's
  EST => -300, EDT => -240, MST => -420, MDT => -360,  # RFC 2822
  PST => -480,  # RFC 2822; also the Philippines'
  PDT => -420,  # RFC 2822
  GMT => 0,
);


# Names that are also words. In capital letters after a time they are no zone, so that the table has
# them as tzdata spells them; of the others it has the lower case.
my %words = map { lc $_ => $_ } qw(Cuba Egypt Eire Iran Israel Japan Libya Navajo Poland Turkey);

# Abbreviations of zones that are also words or abbreviate something else. The table has them in
# capital letters. They are not taken for a zone if text follows them.
$words{lc $_} = $_ for qw(
  ACT BIT COST CT DFT EAST ET GET GIT IOT LINT MIST MIT MT NT PT RET SDT SST TOT TST VOLT
);

# Zones without a meaning.
my %no_zones = map { $_ => 1 } qw(Factory);

# What RFC 2822 and ISO 8601 name beside tzdata's.
my %always = (Z => 0, UT => 0, UTC => 0);

my @months = qw(January February March April May June
                July August September October November December);
my @weekdays = qw(Sunday Monday Tuesday Wednesday Thursday Friday Saturday);

# The index, from 0, of the item of a list that begins with an abbreviation.
sub index_of {
  my ($abbreviation, @list) = @_;
  my @found = grep { $list[$_] =~ /^\Q$abbreviation/i } 0 .. $#list;
  return $found[0] if @found == 1;
  die "make_time_zones: what is $abbreviation?\n";
}

# Seconds of "-2:30", "1" or "0:25:21", without the letter that may follow.
sub seconds {
  my ($text) = @_;
  return 0 if $text eq '-';
  $text =~ /^(-?)(\d+)(?::(\d+))?(?::(\d+))?[a-z]?$/ or die "make_time_zones: no time: $text\n";
  my $value = $2 * 3600 + ($3 // 0) * 60 + ($4 // 0);
  return $1 ? -$value : $value;
}

sub minutes {
  my ($text) = @_;
  my $seconds = seconds($text);
  die "make_time_zones: no whole minutes: $text\n" if $seconds % 60;
  return $seconds / 60;
}

# Week (1 to 4, 5 for the last) and weekday of "lastSu" or "Su>=8".
sub week_and_day {
  my ($text) = @_;
  return (5, index_of($1, @weekdays)) if $text =~ /^last(\w+)$/;
  return (5, index_of($1, @weekdays)) if $text =~ /^(\w+)<=30$/;
  return (int(($2 + 6) / 7), index_of($1, @weekdays)) if $text =~ /^(\w+)>=(1|8|15|22)$/;
  return (1, index_of($1, @weekdays)) if $text =~ /^(\w+)>=2$/;
  return (4, index_of($1, @weekdays)) if $text =~ /^(\w+)>=23$/;
  die "make_time_zones: a day that no rule can say: $text\n";
}

# The database: the lines of today for each zone, the rules of all years to come, and the links.
sub read_database {
  my ($path) = @_;
  open my $file, '<', $path or return;
  my %data = (zones => {}, rules => {}, last => {}, links => {});
  my $zone;
  while (my $line = <$file>) {
    $data{version} //= $1 if $line =~ /^# version (\S+)/;
    next if $line =~ /^#/;
    my @fields = split ' ', $line;
    if ($fields[0] eq 'R') {
      my ($name, $to) = @fields[1, 3];
      push @{$data{rules}{$name}}, [@fields[5 .. 9]] if $to =~ /^ma/;
      # The letters of standard time, for zones that have no summer time any more.
      my $year = $to =~ /^o/ ? $fields[2] : $to;
      my $is_last = $year =~ /^\d+$/ && $year >= ($data{last}{$name}[0] // 0);
      $data{last}{$name} = [$year, [@fields[5 .. 9]]] if $is_last && seconds($fields[8]) == 0;
      $zone = undef;
    } elsif ($fields[0] eq 'L') {
      $data{links}{$fields[2]} = $fields[1];
      $zone = undef;
    } else {
      if ($fields[0] eq 'Z') {
        $zone = $fields[1];
        splice @fields, 0, 2;
      }
      $data{zones}{$zone} = [@fields[0 .. 2]];  # the last one stays
    }
  }
  return \%data;
}

# When a rule begins, as a ClockChange. `before`: the clock's minutes from UTC until then.
sub clock_change {
  my ($rule, $standard, $before) = @_;
  my ($month, $day, $time) = @$rule;
  my ($week, $weekday) = week_and_day($day);
  my $minutes = minutes($time);
  $minutes += $before if $time =~ /[ugz]$/;
  $minutes += $before - $standard if $time =~ /s$/;
  return sprintf 'clockChange(%d, %d, %d, %d)',
    index_of($month, @months) + 1, $week, $weekday, $minutes;
}

# { offset, summer, begin, end, letters }: minutes, and what the zone calls its times.
sub describe {
  my ($data, $zone) = @_;
  my ($standard, $rule_name, $format) = @{$data->{zones}{$zone}};
  $standard = minutes($standard);
  my $rules = $data->{rules}{$rule_name} // [];
  my @by_saving = sort { minutes($a->[3]) <=> minutes($b->[3]) } @$rules;
  my $letters = sub {
    my ($rule) = @_;
    my $letter = $rule ? $rule->[4] : '';
    my $name = $format;
    if ($format =~ m{^(.*)/(.*)$}) {
      # Of the two the second is for the rule that saves something.
      $name = $rule && minutes($rule->[3]) != 0 ? $2 : $1;
    } else {
      $letter = '' if $letter eq '-';
      $name =~ s/%s/$letter/;
    }
    return $name;
  };
  if (@by_saving != 2) {
    my $saving = $rule_name =~ /^-?\d/ ? minutes($rule_name) : 0;
    my $name = $letters->($data->{last}{$rule_name}[1]);
    return {offset => $standard + $saving, letters => [[$name, $standard + $saving]]};
  }
  my ($winter, $summer) = @by_saving;
  my $offset = $standard + minutes($winter->[3]);
  my $summer_offset = $standard + minutes($summer->[3]);
  return {
    offset => $offset,
    summer => $summer_offset - $offset,
    begin => clock_change($summer, $standard, $offset),
    end => clock_change($winter, $standard, $summer_offset),
    letters => [[$letters->($winter), $offset], [$letters->($summer), $summer_offset]],
  };
}

sub is_letters {
  my ($text) = @_;
  return $text =~ /^[A-Za-z]{3,6}$/;
}

# What each name stands for.
sub table {
  my ($data) = @_;
  my %table;
  my %meanings;  # of letters: offset => number of zones
  for my $zone (sort keys %{$data->{zones}}) {
    next if $no_zones{$zone};
    my $entry = describe($data, $zone);
    $table{lc $zone} = $entry;
    $meanings{uc $_->[0]}{$_->[1]}++ for grep { is_letters($_->[0]) } @{$entry->{letters}};
  }
  for my $link (sort keys %{$data->{links}}) {
    my $target = $data->{links}{$link};
    $target = $data->{links}{$target} while exists $data->{links}{$target};
    $table{lc $link} = $table{lc $target} or die "make_time_zones: $link is linked to nothing\n";
  }
  # A name of a zone goes before letters: CET is a zone with summer time.
  my $add = sub { my ($name, $entry) = @_; $table{lc $name} //= $entry };
  for my $letters (sort keys %meanings) {
    my @offsets = keys %{$meanings{$letters}};
    my $offset = $decided{$letters} // $offsets[0];
    die "make_time_zones: $letters has several meanings: @offsets\n"
      if @offsets > 1 && !defined $decided{$letters};
    $add->($letters, {offset => $offset});
  }
  for my $letters (sort keys %more_letters) {
    my $meaning = $more_letters{$letters};
    die "make_time_zones: $letters is in tzdata\n" if $meanings{$letters};
    $add->($letters, $meaning =~ m{/} ? $table{lc $meaning} : {offset => $meaning});
  }
  $add->($_, {offset => $always{$_}}) for sort keys %always;
  return \%table;
}

sub rule_text {
  my ($entry) = @_;
  return sprintf q({%d, %s, %s}), @$entry{qw(summer begin end)};
}

sub source {
  my ($data) = @_;
  my $table = table($data);
  my (%number, @rules);
  for my $name (sort keys %$table) {
    my $entry = $table->{$name};
    next unless $entry->{summer};
    my $rule = rule_text($entry);
    next if $number{$rule};
    push @rules, $rule;
    $number{$rule} = @rules;
  }
  my $source = <<"END";
// Written by tools/make_time_zones.pl from version $data->{version} of the time zone database,
// which is in the public domain; do not edit. Private to time_zones.cpp.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string_view>

#include "timestamp/time_zone.h"

namespace sourcetype {

struct SummerRule {
  int minutes;  // that summer time adds
  ClockChange begin;
  ClockChange end;
};

// `minutes`: of the day; before midnight where negative.
constexpr ClockChange clockChange(unsigned month, unsigned week, unsigned weekday, int minutes) {
  return {.month = std::chrono::month(month),
          .week = static_cast<std::uint8_t>(week),
          .weekday = std::chrono::weekday(weekday),
          .time = std::chrono::minutes(minutes)};
}

struct ZoneEntry {
  std::string_view name;    // in lower case, unless it must be spelled so; a word if all capital
  std::int16_t minutes;     // east of UTC
  std::uint8_t summerRule;  // from 1; 0 for none
};

// clang-format off
inline constexpr std::array kSummerRules{
END
  $source .= "    SummerRule$_,\n" for @rules;
  $source .= <<'END';
};

// Sorted by the names in lower case.
END
  my $count = keys %$table;
  $source .= "inline constexpr std::array<ZoneEntry, $count> kZoneTable{{\n";
  for my $name (sort keys %$table) {
    my $entry = $table->{$name};
    my $rule = $entry->{summer} ? $number{rule_text($entry)} : 0;
    my $spelled = $words{$name} // $name;
    $source .= "    {\"$spelled\", $entry->{offset}, $rule},\n";
  }
  $source .= <<'END';
}};
// clang-format on

END
  $source .= "}  // namespace sourcetype\n";
  return $source;
}

my $table;
(undef, $table) = splice @ARGV, 0, 2 if @ARGV > 1 && $ARGV[0] eq '--check';
my $path = $ARGV[0] // '/usr/share/zoneinfo/tzdata.zi';
my $data = read_database($path);
if (!defined $table) {
  die "make_time_zones: cannot read $path\n" unless $data;
  print source($data);
  exit;
}
open my $file, '<', $table or die "make_time_zones: cannot read $table\n";
my $present = do { local $/; <$file> };
my ($version) = $present =~ /from version (\S+)/ or die "make_time_zones: $table has no version\n";
if (!$data || $data->{version} ne $version) {
  my $other = $data ? "has version $data->{version}" : 'is missing';
  print "make_time_zones: $path $other; the table, of version $version, is not checked\n";
  exit;
}
die "make_time_zones: $table is not what this tool makes of $path\n" if $present ne source($data);
