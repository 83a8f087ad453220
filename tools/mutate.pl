#!/usr/bin/env perl
# Plants the faults of a table one at a time and tells which tests see each: "units", "program",
# "properties" (which are tried when the others pass), or "NONE".
#
#   tools/mutate.pl BUILD-DIRECTORY [TABLE [PATTERN]]
#
# TABLE is tests/mutation/mutants.txt (its head says how it is written); PATTERN chooses faults. The
# build directory is of this tree. The tests of units are run, those beside the file first, then the
# tests of the program, and then those of ctest that the table names, or the properties where it names
# none. A file that a fault is planted in is restored also when the run is interrupted. Ends with 1 when
# a fault without a reason survived.
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
sub succeeds { return system("$_[0] >>$build/mutate.log 2>&1") == 0 }
sub passes { return succeeds("timeout $kTimeLimit $_[0]") }
sub builds { return succeeds("cmake --build $build --target @_") }

# A filter for the tests of units that are beside the file: most faults fail one of them.
sub own_tests {
  my ($file) = @_;
  my $tests = $file =~ s,^src/,tests/,r =~ s,\.\w+$,_test.cpp,r;
  return '-*' unless -e $tests;
  return join ':', map {"*$_.*"} content($tests) =~ /^TEST(?:_[FP])?\((\w+)/mg;
}

# What sees the fault that is planted now.
sub seen_by {
  my ($mutant) = @_;
  my $units    = "$build/tests/sourcetype_tests --gtest_brief=1 --gtest_fail_fast";
  my $program  = "$build/tests/sourcetype_cli_tests --gtest_brief=1 --gtest_fail_fast";
  return 'DOES NOT COMPILE' unless builds('sourcetype_tests');
  return 'units' unless passes("$units --gtest_filter='" . own_tests($mutant->{file}) . "'") && passes($units);
  return 'DOES NOT COMPILE' unless builds('sourcetype_cli_tests timestamps');
  return 'program' unless passes($program);
  my $more = $mutant->{more};
  return passes("ctest --test-dir $build -R '$more' -j2") ? 'NONE' : 'others' if $more;
  return 'DOES NOT COMPILE' unless builds('fuzz_targets');
  return passes("ctest --test-dir $build -R '^Property' -j2") ? 'NONE' : 'properties';
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
  my $seen = seen_by($mutant);
  restore();
  ++$planted;
  my $survived = $seen =~ /^[A-Z]/;
  my $reason = $survived ? $mutant->{reason} : undef;
  printf "%-10s  %s%s\n", $seen, $mutant->{line}, defined $reason ? "  ($reason)" : '';
  ++$bad if $survived && !defined $reason;
}
builds('sourcetype_tests sourcetype_cli_tests timestamps fuzz_targets');
print "$planted planted, $bad without an explanation\n";
exit($bad ? 1 : 0);
