#!/usr/bin/env perl
# Plants the faults of a table one at a time and tells which of them no test sees.
#
#   tools/mutate.pl BUILD-DIRECTORY [TABLE [PATTERN]]
#
# TABLE is tests/mutation/mutants.txt (its head says how it is written); PATTERN chooses faults. The
# build directory is of this tree; the tests of units and of the executable are run, and those of ctest
# that the table names. A file that a fault is planted in is restored also when the run is interrupted.
# Ends with 1 when a fault without a reason survived.
use strict;
use warnings;
$| = 1;
use File::Basename qw(dirname);

my $root = dirname(dirname(__FILE__));
chdir $root or die "$root: $!\n";
my ($build, $table, $chosen) = @ARGV;
die "usage: tools/mutate.pl BUILD-DIRECTORY [TABLE [PATTERN]]\n" unless defined $build;
$table //= 'tests/mutation/mutants.txt';
my $kTimeLimit = 300;    # seconds of a run of tests: a fault may hang one

sub content {
  my ($path, $new) = @_;
  open my $file, defined $new ? '>' : '<', $path or die "$path: $!\n";
  return do { local $/; <$file> } unless defined $new;
  print $file $new;
  close $file or die "$path: $!\n";
}

# Whether a command ends with 0; what it prints goes to the log.
sub passes { return system("timeout $kTimeLimit $_[0] >>$build/mutate.log 2>&1") == 0 }

# A filter for the tests of units that stand beside the file: most faults fail one of them.
sub own_tests {
  my ($file) = @_;
  my $tests = $file =~ s,^src/,tests/,r =~ s,\.\w+$,_test.cpp,r;
  return '-*' unless -e $tests;
  return join ':', map {"*$_.*"} content($tests) =~ /^TEST(?:_[FP])?\((\w+)/mg;
}

sub is_built { return passes("cmake --build $build --target @_") }

sub outcome {
  my ($mutant) = @_;
  my $units    = "$build/tests/sourcetype_tests --gtest_brief=1 --gtest_fail_fast";
  my $program  = "$build/tests/sourcetype_cli_tests --gtest_brief=1 --gtest_fail_fast";
  return 'does not compile' unless is_built('sourcetype_tests');
  return 'killed' unless passes("$units --gtest_filter='" . own_tests($mutant->{file}) . "'") && passes($units);
  return 'does not compile' unless is_built('sourcetype_cli_tests', 'timestamps');
  return 'killed' unless passes($program);
  my $more = $mutant->{more};
  return !$more || passes("ctest --test-dir $build -R '$more'") ? 'SURVIVED' : 'killed';
}

my @mutants;
my $more = '';
for my $line (split /\n/, content($table)) {
  next if $line =~ /^\s*(#|$)/;
  if ($line =~ /^\| *(.*)/) { $mutants[-1]{reason} = $1; next }
  if ($line =~ /^@ *(.*)/)  { $more = $1; next }
  my ($file, $from, $to) = map { s/\\\|/|/gr } split /(?<!\\)\|/, $line, -1;
  push @mutants, {file => "src/$file", from => $from, to => $to, line => $line, more => $more};
}

my ($planted, $killed, $bad) = (0, 0, 0);
my ($changed, $original);
sub restore { content($changed, $original) if defined $changed; undef $changed }
$SIG{INT} = $SIG{TERM} = sub { restore(); exit 2 };
for my $mutant (@mutants) {
  next if defined $chosen && $mutant->{line} !~ /$chosen/;
  my $text = content($mutant->{file});
  if ((() = $text =~ /\Q$mutant->{from}\E/g) != 1) {
    print "NOT FOUND ONCE  $mutant->{line}\n";
    ++$bad;
    next;
  }
  ($changed, $original) = ($mutant->{file}, $text);
  content($changed, $text =~ s/\Q$mutant->{from}\E/$mutant->{to}/r);
  my $outcome = outcome($mutant);
  restore();
  ++$planted;
  my $reason = $mutant->{reason};
  print "$outcome  $mutant->{line}", defined $reason ? "  ($reason)" : '', "\n";
  ++$killed if $outcome eq 'killed';
  ++$bad    if $outcome ne 'killed' && !defined $reason;
}
is_built('sourcetype_tests', 'sourcetype_cli_tests', 'timestamps');
print "$planted planted, $killed killed, $bad without an explanation\n";
exit($bad ? 1 : 0);
