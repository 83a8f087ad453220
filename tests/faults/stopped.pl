#!/usr/bin/env perl
# Stops a run at each of its calls while another one goes as far as it can, and changes what the
# stopped one has locked: stopped.pl PROGRAM INJECTOR DATETIME.XML
use strict;
use warnings;
use FindBin;
use lib $FindBin::Bin;
use Cwd qw(abs_path);
use Fcntl qw(:flock);
use POSIX qw(WIFSTOPPED WNOHANG WUNTRACED);
use Tree;

my ($program, $injector, $datetime) = map { abs_path($_) } @ARGV[0 .. 2];
die "there is no $injector\n" if !-e $injector;
my $tree   = Tree->new($datetime);
my $errors = 0;

sub complain { ++$errors; print STDERR "$_[0]\n" }

# Starts a run that stops before the n-th of its calls below a directory. Gives the process, or
# nothing when it makes fewer of them.
sub stopped_at {
  my ($calls, $at, $below, @words) = @_;
  local @ENV{qw(LD_PRELOAD FAULT_CALL FAULT_AT FAULT_AS FAULT_BELOW)} =
    ($injector, $calls, $at, 'stop', "$tree->{root}/etc/$below");
  my $pid = $tree->start($program, @words);
  waitpid $pid, WUNTRACED;
  return WIFSTOPPED(${^CHILD_ERROR_NATIVE}) ? $pid : undef;
}

# True when the process ends; false when it most likely waits for a lock.
sub has_ended {
  my ($pid) = @_;
  for (1 .. 40) {
    return 1 if finish($pid, WNOHANG);
    select undef, undef, undef, 0.02;
  }
  return 0;
}

sub finish {
  my ($pid, $flags) = @_;
  return 0 if waitpid($pid, $flags // 0) != $pid;
  complain("a run ends with $?") if $? != 0;
  return 1;
}

# A run that is stopped at each of its calls in turn, while another one goes as far as it can.
my $model_file = $Tree::files[2];
my $overlaps   = 0;
$tree->put("$_.log", Tree::log_text($_, 150)) for qw(first second stopped);
for my $pair ([['train'], ['second.log', 'second']], [['first.log', 'first'], ['train']]) {
  my ($first, $second) = @$pair;
  for (my $at = 1;; ++$at) {
    $tree->restore;
    my $before = $tree->stanzas->{$model_file};
    my $pid    = stopped_at('read+lock+write+sync+rename+unlink', $at, 'apps/learned', @$first) // last;
    my $other  = $tree->start($program, @$second);
    my $ended  = has_ended($other);
    kill CONT => $pid;
    finish($pid);
    finish($other) if !$ended;
    ++$overlaps;
    my $about = "@$second while @$first is stopped at call $at";
    my @lost  = $tree->losses($model_file, $before);
    complain("$about: lost @lost") if @lost;
    my $models = $tree->get($model_file) . $tree->get("$model_file.old");
    for my $sourcetype ('trained', map { $_->[1] // () } @$pair) {
      complain("$about: the model of $sourcetype is lost") if $models !~ /^_sourcetype = $sourcetype$/m;
    }
  }
}
complain("$overlaps overlapping runs") if $overlaps < 10;

# A process is stopped while it holds the lock, and killed. The next run gets the lock.
{
  $tree->restore;
  my $pid = stopped_at('sync', 1, '', 'stopped.log') // die 'it does not sync';
  open my $lock, '<', "$tree->{root}/etc/system/local/props.conf.lock" or die;
  complain('the stopped process holds no lock') if flock $lock, LOCK_EX | LOCK_NB;
  kill KILL => $pid;
  waitpid $pid, 0;
}
complain('it does not run') if $tree->run($program, 'stopped.log') != 0;
complain('it is not written') if $tree->get('system/local/props.conf') !~ /^\[stopped\]$/m;
complain("it leaves temporary files") if $tree->temporaries;

# A lock file that is deleted after a process has opened or locked it, and made again by another one,
# is the other one's.
for my $case (['system/local/props.conf', qr/^\[first\]$/m, 'lock', 1, 'first.log'],
  [$model_file, qr/^_sourcetype = first$/m, 'read', 3, 'first.log', 'first']) {
  my ($name, $written, $calls, $at, @words) = @$case;
  my $file = "$tree->{root}/etc/$name.lock";
  $tree->restore;
  my $before = $tree->get($name);
  my $pid    = stopped_at($calls, $at, $name, @words) // die "no $calls $at of $name";
  unlink $file or die "$file: $!";
  open my $lock, '>', $file or die "$file: $!";
  flock $lock, LOCK_EX or die "$file: $!";
  kill CONT => $pid;
  complain("$name: it does not wait for the new lock file") if has_ended($pid) || $tree->get($name) ne $before;
  sleep 1;    # it is given up after a minute and not after a second
  close $lock;
  finish($pid);
  complain("$name: it is not written then") if $tree->get($name) !~ $written;
}

# A program that takes no lock replaces the file after a stanza was written to it.
{
  my $name = 'system/local/props.conf';
  $tree->restore;
  my $pid = stopped_at('sync', 2, $name, 'first.log') // die 'it does not sync twice';
  $tree->put("etc/$name.new", "[theirs]\n");
  rename "$tree->{root}/etc/$name.new", "$tree->{root}/etc/$name" or die "$name: $!";
  kill CONT => $pid;
  finish($pid);
  complain('it is not written to the new file') if $tree->get($name) !~ /^\[theirs\]\n.*^\[first\]$/ms;
}

print "$overlaps overlapping runs, $errors errors\n";
exit($errors ? 1 : 0);
