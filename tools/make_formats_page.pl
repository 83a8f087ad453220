#!/usr/bin/env perl
# Writes docs/formats.md from the bundled configuration: make_formats_page.pl [--check FILE]
use strict;
use warnings;
use File::Basename qw(dirname);

# The files in the order of the page, with their headings.
my @parts = (
  [web          => 'The web'],
  [services     => 'Services'],
  [network      => 'Networks and security'],
  [cloud        => 'Cloud and containers'],
  [system       => 'Systems'],
  [windows      => 'Windows'],
  [java         => 'Java and data systems'],
  [databases    => 'Databases'],
  [applications => 'Applications and general forms'],
);
my $apps = dirname(__FILE__) . '/../etc/apps';

# The paragraphs of a props.conf that hold rules: title, sourcetype, settings, the rule's stanza.
sub formats_of {
  my ($file) = @_;
  open my $in, '<', $file or die "$file: $!\n";
  local $/ = '';
  my @formats;
  while (my $paragraph = <$in>) {
    my ($sourcetype) = $paragraph =~ /^sourcetype = (\S+)$/m or next;
    my $format = {sourcetype => $sourcetype};
    ($format->{rule}) = $paragraph =~ /^\[((?:delayed)?rule::.+)\]$/m
      or die "$file: $sourcetype has no rule\n";
    ($format->{title}) = $paragraph =~ /\A# (.+)$/m or die "$file: $sourcetype has no title\n";
    my ($stanza) = $paragraph =~ /^\[\Q$sourcetype\E\]\n(.*)/ms
      or die "$file: $sourcetype has no stanza\n";
    $format->{settings} = {$stanza =~ /^(\w+) = (.*)$/mg};
    push @formats, $format;
  }
  return sort { $a->{sourcetype} cmp $b->{sourcetype} } @formats;
}

sub code {
  my ($text) = @_;
  $text =~ s/\|/\\|/g;
  return "`$text`";
}

sub events {
  my ($settings) = @_;
  return 'one per line' if $settings->{SHOULD_LINEMERGE} eq 'False';
  return 'begin where ' . code($settings->{BREAK_ONLY_BEFORE}) . ' matches';
}

sub timestamp {
  my ($settings) = @_;
  my $format = $settings->{TIME_FORMAT};
  my $text = $format ? code($format) : 'several forms';
  $text .= ' after ' . code($settings->{TIME_PREFIX}) if defined $settings->{TIME_PREFIX};
  $text .= ", $settings->{TZ}" if $settings->{TZ};
  return $text;
}

sub page {
  my ($body, $count) = ('', 0);
  for my $part (@parts) {
    my ($app, $heading) = @$part;
    $body .= "\n## $heading\n\n| sourcetype | format | events | timestamp | rule |\n"
      . "| --- | --- | --- | --- | --- |\n";
    for my $format (formats_of("$apps/$app/default/props.conf")) {
      (my $title = $format->{title}) =~ s/\|/\\|/g;
      $body .= sprintf "| `%s` | %s | %s | %s | %s |\n", $format->{sourcetype}, $title,
        events($format->{settings}), timestamp($format->{settings}), code($format->{rule});
      ++$count;
    }
  }
  return <<"TXT" . $body;
# Known formats

<!-- tools/make_formats_page.pl makes this page from etc/apps/*/default/props.conf. -->

The bundled configuration recognises $count formats. Its rules test the positions of fields in lines. A `delayedrule::` is
for a form that many programs share: it is tried only if no `rule::` and no learned model matches.

To change a setting of a sourcetype, write its stanza with that setting to `etc/system/local/props.conf`. To disable a
rule, write its stanza there with a test that no file passes:

    [rule::debian_dpkg]
    LESS_THAN_-1 = ^

The column "events" shows how lines become events, "timestamp" shows the form of the timestamp and the expression before
it, and "rule" names the stanza that recognises the format.
TXT
}

my $page = page();
if (@ARGV == 2 && $ARGV[0] eq '--check') {
  open my $in, '<', $ARGV[1] or die "$ARGV[1]: $!\n";
  local $/ = undef;
  die "$ARGV[1] is not what tools/make_formats_page.pl makes\n" unless <$in> eq $page;
} else {
  print $page;
}
