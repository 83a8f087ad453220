#!/usr/bin/env perl
# Kills runs at random moments in a tree of 2,000 stanzas and looks at what is left:
# kills.pl PROGRAM DATETIME.XML [KILLS]
use strict;
use warnings;
use FindBin;
use lib $FindBin::Bin;
use Cwd qw(abs_path);
use Time::HiRes qw(sleep time);
use Tree;

my ($program, $datetime) = map { abs_path($_) } @ARGV[0, 1];
my $kills    = $ARGV[2] // 1000;
my $stanzas  = 2000;
my @commands = (['app.log'], ['app.log', 'mine'], ['few.log'], ['table.csv'], ['train']);

my $tree = Tree->new($datetime,
  props  => join("\n", map {"[old-$_]\nSHOULD_LINEMERGE = False\nnote = n$_\n"} 1 .. $stanzas),
  models => join("\n", map {"[old_$_]\n_size = 4\n_source = s\n_sourcetype = old-$_\n" . word_of($_) . " = 1.0\n~=? = 1\n"} 1 .. $stanzas));
my %before = map { $_ => $tree->get($_) } @Tree::files;
my $old    = $tree->stanzas;

# A word of letters for a number.
sub word_of { return 'word' . join '', map { chr(97 + $_) } split //, $_[0] }

sub restore {
  File::Path::remove_tree("$tree->{root}/etc/$_") for qw(system/local apps/learned);
  $tree->put("etc/$_", $before{$_}) for @Tree::files;
}

# What a whole run takes, in seconds, as the last one showed.
my @seconds;
for my $command (@commands) {
  restore();
  my $begin = time;
  $tree->run($program, @$command) == 0 or die "@$command does not run";
  push @seconds, time - $begin;
}

my ($errors, $killed, $written, $leftovers) = (0, 0, 0, 0);
my $complain = sub { ++$errors; print STDERR "$_[0]\n", $tree->said =~ s/^/  /gmr };
# A run that ends before it is killed does not count.
for (my $i = 0; $killed < $kills; ++$i) {
  my $which = $i % @commands;
  restore();
  my $pid = $tree->start($program, @{$commands[$which]});
  sleep rand $seconds[$which];
  kill KILL => $pid;
  waitpid $pid, 0;
  next if $? != 9;
  ++$killed;
  my $now = $tree->stanzas;
  my $changed = 0;
  for my $file (@Tree::files) {
    my $text = Tree::text_of($now->{$file});
    $changed ||= $text ne Tree::text_of($old->{$file});
    my @lost = $tree->losses($file, $old->{$file});
    $complain->("run $i (@{$commands[$which]}): $file lost " . @lost . " stanzas") if @lost;
  }
  ++$written   if $changed;
  ++$leftovers if $tree->temporaries;
  my $begin = time;
  $complain->("run $i: the next run ends with $?") if $tree->run($program, @{$commands[$which]}) != 0;
  $seconds[$which] = time - $begin;
  $complain->("run $i: the next run warns") if grep { !/sourcetypes\.conf/ } split /^/, $tree->said;
  $complain->("run $i: the next run leaves " . join ' ', $tree->temporaries) if $tree->temporaries;
}
print "$killed runs were killed: $written had written, $leftovers left a temporary file; $errors errors\n";
exit($errors ? 1 : 0);
