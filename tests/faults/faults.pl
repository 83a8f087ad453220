#!/usr/bin/env perl
# Lets each call of each kind that a run makes fail in turn, and looks at what is left:
# faults.pl PROGRAM INJECTOR DATETIME.XML [RUN...]
#
# Of allocations every so-manieth fails, so that the whole takes seconds; all with FAULTS_ALL=1.
use strict;
use warnings;
use FindBin;
use lib $FindBin::Bin;
use Cwd qw(abs_path);
use Errno;
use Tree;

my ($program, $injector, $datetime, @wanted) = ((map { abs_path($_) } @ARGV[0 .. 2]), @ARGV[3 .. $#ARGV]);
die "there is no $injector\n" if !-e $injector;
my $all_allocations = $ENV{FAULTS_ALL};
my $allocations     = 60;                 # that fail in each run otherwise

my %words = (learn => ['app.log', 'mine'], new => ['app.log'], small => ['few.log'], header => ['table.csv'],
  train => ['train']);
my @runs = @wanted ? @wanted : qw(learn new small header train);

# Exact: either nothing or everything is written. Same: the run does not even notice. Reading: the
# answer is made of what could be read. Torn: a part of the new model may stay. Killed: as it says.
my $writes = 'write+sync+rename+lock+close+mkdir+truncate+unlink';
my @kinds = (
  ['open',           Errno::EMFILE(), 'reading'], ['open',  Errno::EIO(),    'reading'], ['open',  Errno::EINTR(), 'same'],
  ['read',           Errno::EIO(),    'reading'], ['read',  Errno::EINTR(),  'same'],    ['read',  'short',        'same'],
  ['write',          Errno::ENOSPC(), 'exact'],   ['write', Errno::EINTR(),  'same'],    ['write', 'short',        'same'],
  ['write',          'torn',          'exact'],   ['write+truncate', 'torn', 'torn'],
  ['sync',           Errno::EIO(),    'exact'],   ['sync',  Errno::EINTR(),  'same'],
  ['rename',         Errno::EIO(),    'exact'],   ['lock',  Errno::ENOLCK(), 'exact'],   ['lock',  Errno::EINTR(), 'same'],
  ['close',          Errno::EIO(),    'same'],    ['mkdir', Errno::ENOSPC(), 'exact'],   ['unlink', Errno::EIO(),  'same'],
  ['memory',         Errno::ENOMEM(), 'reading'], ["open+$writes", 'kill',   'killed'],
);

my $tree   = Tree->new($datetime);
my %before = map { $_ => $tree->get($_) } @Tree::files;
my $old    = $tree->stanzas;
my $faults = 0;
my $errors = 0;

# The tree as it was, with what a killed run left. Without its local layers when $bare.
sub restore {
  my ($bare) = @_;
  File::Path::remove_tree("$tree->{root}/etc/$_") for qw(system/local apps/learned);
  return if $bare;
  $tree->put("etc/$_", $before{$_}) for @Tree::files;
  $tree->put("etc/$_.1-2.tmp", "[torn") for @Tree::files;
}

# Calls of the kind that the run makes, and the path of the one that failed.
sub disturbed {
  my ($run, $calls, $at, $as) = @_;
  local @ENV{qw(LD_PRELOAD FAULT_CALL FAULT_AT FAULT_AS FAULT_BELOW FAULT_REPORT)} =
    ($injector, $calls, $at, $as, $tree->{root}, "$tree->{root}/report");
  my $status = $tree->run($program, @{$words{$run}});
  open my $in, '<', "$tree->{root}/report" or return $status;
  unlink "$tree->{root}/report";
  return $status, split ' ', <$in>;
}

# What the tool makes of the tree then: its answers, and warnings.
sub verdict {
  $tree->put('names', "app.log\nfew.log\ntable.csv\n");
  my $status = $tree->run('/bin/sh', '-c', 'exec "$1" manyfiles < names', 'sh', $program);
  return "status $status, " . $tree->out . $tree->said;
}

sub complain {
  my ($run, $kind, $at, $path, $what) = @_;
  ++$errors;
  print STDERR "$run: call $at of $kind->[0] ($path) fails with $kind->[1]: $what\n", $tree->said =~ s/^/  /gmr;
}

for my $run (@runs) {
  my (%new, %out, %known);
  for my $bare (0, 1) {    # undisturbed
    restore($bare);
    my $earlier = verdict();
    restore($bare);
    $tree->run($program, @{$words{$run}}) == 0 or die "$run does not run";
    $new{$bare} = $tree->stanzas;
    $out{$bare} = $tree->out;
    $known{$_} = 1 for $earlier, verdict();
  }
  my %checked;
  for my $kind (@kinds) {
    my ($calls, $as, $expected) = @$kind;
    my $bare = $calls eq 'mkdir' ? 1 : 0;
    restore($bare);
    my (undef, $count) = disturbed($run, $calls, 0, $as);
    my $step   = $calls eq 'memory' && !$all_allocations ? 1 + int $count / $allocations : 1;
    my $others = 0;
    my $done   = 0;
    for (my $at = 1; $at <= $count; $at += $step, ++$done) {
      restore($bare);
      my ($status, undef, $path) = disturbed($run, $calls, $at, $as);
      my @about = ($run, $kind, $at, $path // '?');
      my $now   = $tree->stanzas;
      my $other = 0;
      for my $file (@Tree::files) {
        my $text   = Tree::text_of($now->{$file});
        my $is_new = $text eq Tree::text_of($new{$bare}{$file});
        my $is_old = $text eq Tree::text_of($bare ? {} : $old->{$file});
        $other ||= !$is_new && !$is_old;
        complain(@about, "$file is neither old nor new") if $expected eq 'exact' && !$is_new && !$is_old && $run ne 'train';
        complain(@about, "$file is not as ever") if $expected eq 'same' && !$is_new;
        my @lost = $bare ? () : $tree->losses($file, $old->{$file});
        complain(@about, "$file lost @lost") if @lost;
      }
      ++$others if $other;

      if ($expected eq 'killed') {
        complain(@about, "it ended with $status") if $status != 9;
      } else {
        complain(@about, "it ended with $status") if $status != 0 && $status != 2 << 8;
        complain(@about, 'it leaves a temporary file') if grep { !/\.1-2\.tmp$/ } $tree->temporaries;
      }
      complain(@about, 'its answer is another one') if $expected eq 'same' && $tree->out ne $out{$bare};
      next if $checked{join "\n\n", map { Tree::text_of($now->{$_}) } @Tree::files}++;
      my $verdict = verdict();
      $verdict =~ s/^WARN .*(?:sourcetypes|props)\.conf.*\n//mg if $expected =~ /torn|killed/;
      complain(@about, "afterwards the tool says\n$verdict") if !$known{$verdict};
    }
    printf "%-7s %-15s %-6s %5d faults %5d neither old nor new\n", $run, $as eq 'kill' ? 'any' : $calls, $as, $done, $others;
    $faults += $done;
  }
}
print "$faults faults, $errors errors\n";
exit($errors ? 1 : 0);
