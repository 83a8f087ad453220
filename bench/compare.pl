#!/usr/bin/env perl
# Compares time, memory and answers with other programs that look at logs.
#
#   bench/compare.pl BUILD-DIRECTORY RUNS FILE...
#
# Prints tables in Markdown: the answers, then for each file and program milliseconds and MiB. The
# programs take turns, so that a busy moment of the machine does not slow down one of them only. A
# time is the shortest of the runs, wall clock, the start of the process included; memory is the
# largest resident set, as GNU time reports it. sourcetype runs with a copy of the bundled
# configuration and may not learn, so that each run does the same work.
use strict;
use warnings;
use Cwd            qw(abs_path);
use File::Basename qw(basename dirname);
use File::Path     qw(make_path);
use File::Temp     qw(tempdir);
use List::Util     qw(max min sum);
use Time::HiRes    qw(time);

my ($build, $runs, @files) = @ARGV;
die "usage: compare.pl BUILD-DIRECTORY RUNS FILE...\n" unless @files && $runs =~ /^[1-9]\d*$/;
my $root    = dirname(dirname(abs_path(__FILE__)));
my $scratch = tempdir(CLEANUP => 1);

sub home_without_learning {
  my $local = "$scratch/home/etc/system/local";
  make_path("$scratch/home");
  system('cp', '-R', "$root/etc", "$scratch/home/etc") == 0 or die "cannot copy $root/etc\n";
  make_path($local);
  open my $file, '>', "$local/props.conf" or die "$local/props.conf: $!\n";
  print $file "[default]\nLEARN_SOURCETYPE = false\n";
  close $file or die "$local/props.conf: $!\n";
  return "$scratch/home";
}
$ENV{TARNEL_HOME} = home_without_learning();
$ENV{HOME}        = $scratch;    # where lnav keeps its files

sub first_match {
  my ($text, $pattern) = @_;
  return $text =~ $pattern ? $1 : '-';
}

# A program: its name, the words of a run for a file, and how to take the answer from its output.
my @programs = (
  {
    name   => 'sourcetype',
    words  => sub { (abs_path("$build/src/sourcetype"), $_[0]) },
    answer => sub { first_match($_[0], qr/^\tsourcetype -> (.+)$/m) },
  },
  {
    name   => 'file',
    words  => sub { ('file', '--brief', $_[0]) },
    answer => sub { first_match($_[0], qr/^(.+)$/m) },
  },
  {
    name   => 'lnav',
    words  => sub { ('lnav', '-n', '-c', ';SELECT format FROM lnav_file', '-c', ':write-csv-to -', $_[0]) },
    answer => sub { first_match($_[0], qr/^format\n(.+)$/m) },
  },
  {
    name   => 'wc -l',
    words  => sub { ('wc', '-l', $_[0]) },
    answer => sub { first_match($_[0], qr/^ *(\d+)/) . ' lines' },
  },
);

# Runs a command with its output in a file. Returns the seconds that it took.
sub run {
  my @words = @_;
  my $start = time;
  my $child = fork // die "fork: $!\n";
  if ($child == 0) {
    open STDIN,  '<', '/dev/null'        or die;
    open STDOUT, '>', "$scratch/stdout"  or die;
    open STDERR, '>', "$scratch/stderr"  or die;
    exec {$words[0]} @words or die;
  }
  waitpid $child, 0;
  return time - $start;
}

sub content {
  my ($path) = @_;
  open my $file, '<:raw', $path or die "$path: $!\n";
  local $/;
  return <$file>;
}

sub row { return '| ' . join(' | ', @_) . " |\n" }

sub table {
  my ($unit, $cells) = @_;
  print "\n", row($unit, map { $_->{name} } @programs), row(map {'---'} 0 .. @programs);
  print row(basename($_), @{$cells->{$_}}) for @files;
}

my (%answers, %times, %memory);
for my $file (@files) {
  for my $program (@programs) {
    run('/usr/bin/time', '-f', '%M', '-o', "$scratch/memory", $program->{words}->($file));
    push @{$answers{$file}}, $program->{answer}->(content("$scratch/stdout")) =~ s/\|/\\|/gr;
    push @{$memory{$file}}, sprintf '%.1f', first_match(content("$scratch/memory"), qr/^(\d+)$/m) / 1024;
  }
  my @taken;
  for (1 .. $runs) {
    push @{$taken[$_]}, run($programs[$_]{words}->($file)) for 0 .. $#programs;
  }
  $times{$file} = [map { sprintf '%.1f', 1000 * min(@$_) } @taken];
}
print "Minimum of $runs runs each.\n";
table('answers',      \%answers);
table('milliseconds', \%times);
print row('sum', map { my $i = $_; sprintf '%.1f', sum(map { $times{$_}[$i] } @files) } 0 .. $#programs);
table('MiB', \%memory);
print row('largest', map { my $i = $_; max(map { $memory{$_}[$i] } @files) } 0 .. $#programs);
