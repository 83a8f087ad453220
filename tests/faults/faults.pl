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

my @runs = @wanted ? @wanted : qw(learn new small header train);

# The .conf files that each run writes. It locks, writes and syncs each at least once.
my %written = (learn => 1, new => 2, small => 1, header => 2, train => 2);

# Exact: either nothing or everything is written. Same: the run does not even notice. Reading: the
# answer is made of what could be read. Torn: a part of the new model may stay. Killed and planted:
# as they say. Behind that, how many faults there are at least; else as many as written files.
my $writes = 'write+sync+rename+lock+close+mkdir+truncate+unlink';
my @kinds = (
  ['open',   Errno::EMFILE(), 'reading', 20], ['open',           Errno::EIO(),    'reading', 20],
  ['open',   Errno::EINTR(),  'same', 20],    ['create',         'planted',       'planted'],
  ['read',   Errno::EIO(),    'reading', 10], ['read',           Errno::EINTR(),  'same', 10],
  ['read',   'short',         'same', 10],    ['write',          Errno::ENOSPC(), 'exact'],
  ['write',  Errno::EINTR(),  'same'],        ['write',          'short',         'same'],
  ['write',  'torn',          'exact'],       ['write+truncate', 'torn',          'torn'],
  ['sync',   Errno::EIO(),    'exact'],       ['sync',           Errno::EINTR(),  'same'],
  ['rename', Errno::EIO(),    'exact', 0],    ['lock',           Errno::ENOLCK(), 'exact'],
  ['lock',   Errno::EINTR(),  'same'],        ['close',          Errno::EIO(),    'same'],
  ['mkdir',  Errno::ENOSPC(), 'exact', 1],    ['unlink',         Errno::EIO(),    'same', 1],
  ['memory', Errno::ENOMEM(), 'reading', 50], ["open+$writes",   'kill',          'killed', 30],
);

my $tree   = Tree->new($datetime);
my $old    = $tree->stanzas;
my $victim = 'not to be written to';
my $faults = 0;
my $errors = 0;

# The tree as it was, with what a killed run left. Without its local layers when $bare.
sub restore {
  my ($bare) = @_;
  return $tree->remove_local if $bare;
  $tree->restore;
  $tree->put("etc/$_.1-2.tmp", "[torn") for @Tree::files;
}

# Calls of the kind that the run makes, and the path of the one that failed.
sub disturbed {
  my ($run, $calls, $at, $as) = @_;
  local @ENV{qw(LD_PRELOAD FAULT_CALL FAULT_AT FAULT_AS FAULT_BELOW FAULT_REPORT FAULT_VICTIM)} =
    ($injector, $calls, $at, $as, $tree->{root}, "$tree->{root}/report", "$tree->{root}/etc/victim");
  my $status = $tree->run($program, @{$Tree::words{$run}});
  open my $in, '<', "$tree->{root}/report" or return $status;
  unlink "$tree->{root}/report";
  return $status, split ' ', <$in>;
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
    my $earlier = $tree->verdict($program);
    restore($bare);
    $tree->run($program, @{$Tree::words{$run}}) == 0 or die "$run does not run";
    $new{$bare} = $tree->stanzas;
    $out{$bare} = $tree->out;
    $known{$_} = 1 for $earlier, $tree->verdict($program);
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
    $tree->put('etc/victim', $victim);
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
        complain(@about, "$file is neither old nor new") if $expected =~ /exact|planted/ && !$is_new && !$is_old && $run ne 'train';
        complain(@about, "$file is not as ever") if $expected eq 'same' && !$is_new;
        my @lost = $bare ? () : $tree->losses($file, $old->{$file});
        complain(@about, "$file lost @lost") if @lost;
      }
      ++$others if $other;

      if ($expected eq 'killed') {
        complain(@about, "it ended with $status") if $status != 9;
      } else {
        complain(@about, "it ended with $status") if $status != 0 && $status != 2 << 8;
        my @left = $expected eq 'planted' ? () : grep { !/\.1-2\.tmp$/ } $tree->temporaries;
        complain(@about, "it leaves @left") if @left;
      }
      complain(@about, "it writes to a file that is linked to its path") if $tree->get('victim') ne $victim;
      complain(@about, 'it does not say so')
        if $calls eq 'sync' && $expected eq 'exact' && $path =~ /\.(conf|old|tmp)$/ && $tree->said !~ /cannot sync/;
      complain(@about, 'its answer is another one') if $expected eq 'same' && $tree->out ne $out{$bare};
      next if $checked{join "\n\n", map { Tree::text_of($now->{$_}) } @Tree::files}++;
      my $verdict = $tree->verdict($program);
      $verdict =~ s/^WARN .*(?:sourcetypes|props)\.conf.*\n//mg if $expected =~ /torn|killed/;
      complain(@about, "afterwards the tool says\n$verdict") if !$known{$verdict};
    }
    my $least = $calls eq 'rename' && $run eq 'train' ? 2 : $kind->[3] // $written{$run};
    complain($run, $kind, 0, '-', "there are $done such calls, $least are known") if $done < $least;
    printf "%-7s %-15s %-6s %5d faults %5d neither old nor new\n", $run, $as eq 'kill' ? 'any' : $calls, $as, $done, $others;
    $faults += $done;
  }
}
print "$faults faults, $errors errors\n";
exit($errors ? 1 : 0);
