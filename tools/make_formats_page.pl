#!/usr/bin/env perl
# Writes a page from the bundled configuration: make_formats_page.pl formats|paths [--check FILE]
#
# "formats" is docs/formats.md, what the rules recognise; "paths" is docs/paths.md, the files that have
# a sourcetype by their path.
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

sub paragraphs {
  my ($file) = @_;
  open my $in, '<', $file or die "$file: $!\n";
  local $/ = '';
  return <$in>;
}

# The paragraphs of a props.conf that have rules: title, sourcetype, settings, the rule's stanza. Of
# several rules for a sourcetype, the first one.
sub formats_of {
  my ($file) = @_;
  my %formats;
  for my $paragraph (paragraphs($file)) {
    my ($rule) = $paragraph =~ /^\[((?:delayed)?rule::.+)\]$/m or next;
    my ($sourcetype) = $paragraph =~ /^sourcetype = (\S+)$/m or die "$file: $rule has no sourcetype\n";
    next if $formats{$sourcetype};
    my ($title) = $paragraph =~ /\A# (.+)$/m or die "$file: $sourcetype has no title\n";
    my ($stanza) = $paragraph =~ /^\[\Q$sourcetype\E\]\n(.*)/ms
      or die "$file: $sourcetype has no stanza\n";
    $formats{$sourcetype} = {
      sourcetype => $sourcetype,
      rule       => $rule,
      title      => $title,
      settings   => {$stanza =~ /^(\w+) = (.*?)(?=^\w+ = |^\[|\z)/msg},
    };
    chomp for values %{$formats{$sourcetype}{settings}};
  }
  return map { $formats{$_} } sort keys %formats;
}

# The stanzas for paths: patterns, by sourcetype.
sub paths_of {
  my ($file) = @_;
  my %paths;
  my $text = join '', paragraphs($file);
  push @{$paths{$2}}, $1 while $text =~ /^\[source::(.+)\]\nsourcetype = (\S+)$/mg;
  return %paths;
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

sub formats_page {
  my ($body, $count) = ('', 0);
  for my $part (@parts) {
    my ($app, $heading) = @$part;
    $body .= "\n## $heading\n\n| sourcetype | format | events | timestamp | rule |\n"
      . "| --- | --- | --- | --- | --- |\n";
    for my $format (formats_of("$apps/bundled-$app/default/props.conf")) {
      (my $title = $format->{title}) =~ s/\|/\\|/g;
      $body .= sprintf "| `%s` | %s | %s | %s | %s |\n", $format->{sourcetype}, $title,
        events($format->{settings}), timestamp($format->{settings}), code($format->{rule});
      ++$count;
    }
  }
  return <<"TXT" . $body;
# Known formats

<!-- tools/make_formats_page.pl makes this page from etc/apps/bundled-*/default/props.conf. -->

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

sub paths_page {
  my ($body, $count) = ('', 0);
  for my $part (@parts) {
    my ($app, $heading) = @$part;
    my %paths = paths_of("$apps/bundled-$app/default/props.conf") or next;
    $body .= "\n## $heading\n\n| sourcetype | paths |\n| --- | --- |\n";
    for my $sourcetype (sort keys %paths) {
      $body .= sprintf "| `%s` | %s |\n", $sourcetype, join '<br>', map { code($_) } @{$paths{$sourcetype}};
      $count += @{$paths{$sourcetype}};
    }
  }
  return <<"TXT" . $body;
# Files with a sourcetype by their path

<!-- tools/make_formats_page.pl makes this page from etc/apps/bundled-*/default/props.conf. -->

A file of fewer than 100 lines is not recognised by its content. $count patterns give files at the paths where well-known
programs write a sourcetype by their path, whatever the number of their lines. `...` matches any characters, `*` any
except the path separator; in a pattern with one of them, the rest is a regular expression in which `.` is a dot.

The patterns have the priority -10. Your own stanza wins, for a path or for a pattern:

    [source::/var/log/nginx/access.log]
    sourcetype = my_access_log
TXT
}

my %pages = (formats => \&formats_page, paths => \&paths_page);
my ($name, @options) = @ARGV;
die "usage: make_formats_page.pl formats|paths [--check FILE]\n" unless defined $name && $pages{$name};
my $page = $pages{$name}->();
if (@options == 2 && $options[0] eq '--check') {
  open my $in, '<', $options[1] or die "$options[1]: $!\n";
  local $/ = undef;
  die "$options[1] is not what tools/make_formats_page.pl makes\n" unless <$in> eq $page;
} else {
  print $page;
}
