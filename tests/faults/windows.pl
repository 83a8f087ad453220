#!/usr/bin/env perl
# Kills runs of the Windows executable under wine, lets their writes fail, and looks at what is left:
# windows.pl PROGRAM INJECTOR DATETIME.XML, with wine's command in EMULATOR.
#
# wine writes with the system's calls in the process of the program, where the injector sees them.
# Locks and renames are made by wine's server, which cannot be disturbed here.
use strict;
use warnings;
use FindBin;
use lib $FindBin::Bin;
use Cwd qw(abs_path);
use Errno;
use Time::HiRes qw(sleep time);
use Tree;

my ($program, $injector, $datetime) = map { abs_path($_) } @ARGV[0 .. 2];
die "there is no $injector\n" if !-e $injector;
my $tree         = Tree->new($datetime);
my $old          = $tree->stanzas;
my $faults       = 0;
my $errors       = 0;
my $random_kills = 12;    # of each kind of run
my $kSigKill     = 9;

sub complain { ++$errors; print STDERR "@_\n", $tree->said =~ s/^/  /gmr }

sub disturbed {
  my ($at, $as, @words) = @_;
  local @ENV{qw(LD_PRELOAD FAULT_CALL FAULT_AT FAULT_AS FAULT_BELOW)} =
    ($injector, 'write+truncate', $at, $as, "$tree->{root}/etc");
  $tree->restore;
  return $tree->run($program, @words);
}

# The names of stanzas. After a kill the name of a new sourcetype may be in use: its next model has
# another one.
sub names_of {
  my ($stanzas) = @_;
  return {map { s/^_sourcetype = .*\n//mr => 1 } keys %$stanzas};
}

# Nothing of the tree as it was is lost, and the next run does all of its work.
sub check_repair {
  my ($about, $new, @words) = @_;
  ++$faults;
  for my $file (@Tree::files) {
    my @lost = $tree->losses($file, $old->{$file});
    complain($about, "$file lost @lost") if @lost;
  }
  my $status = $tree->run($program, @words);
  complain($about, "the next run ends with $status") if $status != 0;
  my $now = $tree->stanzas;
  for my $file (@Tree::files) {
    my $known   = names_of($now->{$file});
    my @missing = grep { !$known->{$_} } keys %{names_of($new->{$file})};
    complain($about, "$file has no @missing after the next run") if @missing;
    my @twice = grep { $now->{$file}{$_} =~ /\(again\)/ } keys %{$now->{$file}};
    complain($about, "$file has @twice twice") if @twice;
  }
  complain($about, 'temporary files are left') if $tree->temporaries;
}

for my $run (qw(learn new small header train)) {
  my @words = @{$Tree::words{$run}};
  $tree->restore;
  my $start = time;
  $tree->run($program, @words) == 0 or die "$run does not run\n";
  my $duration = time - $start;
  my $new      = $tree->stanzas;

  my $writes = 0;
  while (disturbed($writes + 1, 'kill', @words) == $kSigKill) {
    ++$writes;
    check_repair("$run: killed at write $writes:", $new, @words);
  }
  complain("$run makes no write") if $writes == 0;
  for my $as (Errno::ENOSPC(), 'torn') {
    for my $at (1 .. $writes) {
      my $status = disturbed($at, $as, @words);
      complain("$run: write $at fails with $as:", "it ends with $status") if $status != 0 && $status != 2 << 8;
      my @left = $tree->temporaries;
      complain("$run: write $at fails with $as:", "it leaves @left") if @left;
      check_repair("$run: write $at fails with $as:", $new, @words);
    }
  }
  for (1 .. $random_kills) {
    $tree->restore;
    my $process = $tree->start($program, @words);
    my $moment  = rand $duration;
    sleep $moment;
    kill KILL => $process;
    waitpid $process, 0;
    check_repair(sprintf('%s: killed after %.3f s:', $run, $moment), $new, @words);
  }
  printf "%-7s %3d writes, each killed and failed twice; %d kills at any moment\n", $run, $writes, $random_kills;
}
print "$faults faults, $errors errors\n";
exit($errors ? 1 : 0);
