#!/usr/bin/env perl
# Writes src/charset/vendor_tables.cpp from the mappings that come with perl's Encode.
#   make_mac_tables.pl               prints the file
#   make_mac_tables.pl --check FILE  fails unless FILE is what would be printed
use strict;
use warnings;
use Encode;

my @names = qw(MacArabic MacCentralEurRoman MacCroatian MacCyrillic MacGreek MacHebrew MacIcelandic
               MacRoman MacRomanian MacThai MacTurkish MacUkrainian nextstep);

# What each byte of 80-FF decodes to.
sub upper_half {
  my ($name) = @_;
  # Encode has no table behind this name. The set is MacCyrillic from before the euro sign.
  return {%{upper_half('MacCyrillic')}, 0xFF => "\x{A4}"} if $name eq 'MacUkrainian';
  my %text;
  for my $byte (0x80 .. 0xFF) {
    my $bytes = chr $byte;
    my $text = eval { decode($name, $bytes, Encode::FB_CROAK) };
    $text{$byte} = $text if defined $text;
  }
  return \%text;
}

my $source = <<'END';
// Written by tools/make_mac_tables.pl from the mappings in perl's Encode; do not edit.
#include "charset/vendor_tables.h"

namespace sourcetype {
namespace {

// clang-format off
constexpr std::array kTables{
END
for my $name (@names) {
  my $texts = upper_half($name);
  $source .= "    VendorTable{\"$name\", {{\n";
  for my $row (8 .. 15) {
    for my $half (0, 8) {
      my @cells = map {
        my $text = $texts->{16 * $row + $half + $_} // '';
        $text =~ s/[\x{F860}-\x{F87F}]//g;
        'u"' . join('', map { sprintf '\\x%04X', ord } split //, $text) . '"';
      } 0 .. 7;
      $source .= '        ' . join(', ', @cells) . ",\n";
    }
  }
  $source .= "    }}},\n";
}
$source .= <<'END';
};
// clang-format on

}  // namespace

std::span<const VendorTable> vendorTables() {
  return kTables;
}

}  // namespace sourcetype
END

if (@ARGV == 2 && $ARGV[0] eq '--check') {
  open my $file, '<', $ARGV[1] or die "$ARGV[1]: $!\n";
  local $/;
  die "$ARGV[1] is not what $0 writes\n" unless <$file> eq $source;
} else {
  print $source;
}
