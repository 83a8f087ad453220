#!/usr/bin/env perl
# Checks the links between the Markdown files of a tree: check_links.pl [--settle] DIRECTORY
#
# Prints each relative link whose file, or whose heading after "#", does not exist below the directory,
# and ends with 1 if there is any. With --settle, the text of such a link replaces it: for documents
# that are installed without some files of the repository. Skips code, and directories named build
# or .git.
use strict;
use warnings;
use File::Basename qw(dirname);
use File::Spec;  # only modules of Debian's perl-base: installing needs this program

my $settle = @ARGV && $ARGV[0] eq '--settle' && shift;
my $top = shift // die "usage: check_links.pl [--settle] DIRECTORY\n";

sub text_of {
  my ($file) = @_;
  open my $in, '<', $file or die "$file: $!\n";
  local $/;
  my $text = <$in> // '';
  utf8::decode($text);
  return $text;
}

# The text with blanks for everything in code, at the same offsets.
sub without_code {
  my ($text) = @_;
  my $blank = sub { $_[0] =~ s/[^\n]/ /gr };
  $text =~ s/^( {0,3}(```+|~~~+).*?^ {0,3}\2\s*?$)/$blank->($1)/gmse;
  $text =~ s/((?:\A|^\s*\n)(?:(?: {4}|\t).*\n|[ \t\r]*\n)+)/$blank->($1)/gme;
  $text =~ s/((?<!`)(`+)(?!`)(?:(?!\n\s*\n).)*?(?<!`)\2(?!`))/$blank->($1)/gse;
  $text =~ s/(<!--.*?-->)/$blank->($1)/gse;
  return $text;
}

# What may be after "#" in a link to this file.
my %anchors;
sub anchors_of {
  my ($file) = @_;
  return $anchors{$file} //= do {
    my (%known, %count);
    my $text = text_of($file);
    my $prose = without_code($text);
    while ($prose =~ /^#+[ \t]/mg) {
      my ($title) = substr($text, $+[0]) =~ /\A(.*?)\s*$/m;
      $title =~ s/\[([^\]]*)\]\([^)]*\)/$1/g;
      my $slug = lc $title =~ s/[^\w\- ]//gr =~ tr/ /-/r;
      my $times = $count{$slug}++;
      $known{$times ? "$slug-$times" : $slug} = 1;
    }
    \%known;
  };
}

sub leads_somewhere {
  my ($file, $target) = @_;
  return 1 if $target =~ /^[a-z][a-z0-9+.-]*:/i;
  my ($path, $anchor) = $target =~ /^([^#]*)(?:#(.*))?$/s;
  $path =~ s/%([0-9A-Fa-f]{2})/chr hex $1/ge;
  my $directory = $path =~ m{^/} ? return 0 : dirname($file);
  my @parts;
  for my $part (split m{/+}, File::Spec->abs2rel("$directory/$path", $top)) {
    if ($part ne '..') { push @parts, $part if $part ne '.' }
    else { return 0 unless defined pop @parts }
  }
  my $found = $path eq '' ? $file : join '/', $top, @parts;
  return 0 unless -e $found;
  return !defined $anchor || -f $found && anchors_of($found)->{$anchor};
}

# The Markdown files below the directory.
sub documents {
  my ($directory) = @_;
  opendir my $entries, $directory or die "$directory: $!\n";
  return map {
    my $path = "$directory/$_";
    my $skipped = /\A(?:\.{1,2}|build|\.git)\z/ || -l $path;
    $skipped ? () : -d $path ? documents($path) : /\.md\z/ ? $path : ();
  } sort readdir $entries;
}

my ($links, $dead) = (0, 0);
my @files = documents($top) or die "check_links.pl: no Markdown files below $top\n";

for my $file (@files) {
  my $text = text_of($file);
  my $prose = without_code($text);
  my @replaced;
  my $check = sub {
    my ($offset, $target) = @_;
    ++$links;
    return 1 if leads_somewhere($file, $target);
    my $line = 1 + (substr($text, 0, $offset) =~ tr/\n//);
    print "$file:$line: $target leads nowhere\n" unless $settle;
    return 0;
  };
  while ($prose =~ /\]\(\s*<?([^)\s>]*)>?(?:\s+"[^"]*")?\s*\)/g) {
    my ($begin, $end, $bracket) = ($-[0], $+[0], $-[0]);
    next if $check->($begin, $1);
    ++$dead;
    # The bracket that opens the text of the link.
    my $depth = 1;
    while ($depth > 0 && --$bracket >= 0) {
      my $char = substr $prose, $bracket, 1;
      $depth += $char eq ']' ? 1 : $char eq '[' ? -1 : 0;
    }
    next if $bracket < 0;
    my $from = $bracket > 0 && substr($prose, $bracket - 1, 1) eq '!' ? $bracket - 1 : $bracket;
    push @replaced, [$from, $end, $bracket + 1, $begin];
  }
  while ($prose =~ /^ {0,3}\[[^\]]+\]:\s+<?([^\s>]+)|\b(?:href|src|srcset)="([^"]*)"/mg) {
    my $target = $1 // $2;
    next if $check->($-[0], $target);
    ++$dead;
    print "$file: the link to $target cannot be settled\n" and exit 1 if $settle;
  }
  next unless $settle && @replaced;
  substr($text, $_->[0], $_->[1] - $_->[0]) = substr $text, $_->[2], $_->[3] - $_->[2]
    for reverse @replaced;
  open my $out, '>', $file or die "$file: $!\n";
  utf8::encode($text);
  print $out $text;
  close $out or die "$file: $!\n";
}
printf "%d files, %d links, %d %s\n", scalar @files, $links, $dead,
  $settle ? 'made plain text' : 'lead nowhere';
exit 1 if $dead && !$settle;
