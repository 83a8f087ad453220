#!/usr/bin/env perl
# Lets many processes learn unknown files into one tree at once, and compares with one that does it
# alone: processes.pl PROGRAM INJECTOR DATETIME.XML [PROCESSES FILES]
use strict;
use warnings;
use FindBin;
use lib $FindBin::Bin;
use Cwd qw(abs_path);
use Fcntl qw(:flock);
use POSIX qw(WIFSTOPPED WNOHANG WUNTRACED);
use Tree;

my ($program, $injector, $datetime) = map { abs_path($_) } @ARGV[0 .. 2];
my $processes = $ARGV[3] // 8;
my $files     = $ARGV[4] // 200;
my $errors    = 0;

# Every fourth file is a table. Those of one number have the same columns in every process; a log
# has words of its own, and they are all called app.log.
sub is_table { return $_[0] % 4 == 3 }

sub content_of {
  my ($process, $number) = @_;
  return "id,column$number,c\n" . join '', map {"$_,b,c\n"} 1 .. 5 if is_table($number);
  my $word = join '', map { chr(97 + $_) x 2 } split //, sprintf '%02d%04d', $process, $number;
  return Tree::log_text($word, 120);
}

sub name_of {
  my ($process, $number) = @_;
  return "$process/$number/" . (is_table($number) ? 'table.csv' : 'app.log');
}

# A tree with the files, after the processes have classified them.
sub tree_after {
  my ($at_once) = @_;
  my $tree = Tree->new($datetime);
  for my $process (1 .. $processes) {
    $tree->put(name_of($process, $_), content_of($process, $_)) for 0 .. $files - 1;
    $tree->put("$process/few.log", "one\n");
  }
  for my $process (1 .. $processes) {
    my $pid = fork // die "fork: $!";
    if (!$pid) {
      chdir $tree->{root};
      $ENV{TARNEL_HOME} = $tree->{root};
      open STDOUT, '>', "out-$process" or die;
      open STDERR, '>', "err-$process" or die;
      system($program, $_) for "$process/few.log", map { name_of($process, $_) } 0 .. $files - 1;
      POSIX::_exit(0);
    }
    waitpid $pid, 0 if !$at_once;
  }
  1 while wait != -1;
  return $tree;
}

sub complain { ++$errors; print STDERR "$_[0]\n" }

# Models but for the names of their sourcetypes, which depend on who came first.
# The limit of a model depends on the models before it.
sub models_of {
  my ($stanzas) = @_;
  return join "\n\n", sort map {s/^(?:_sourcetype|maxDist) = .*\n//mgr} values %{$stanzas->{$Tree::files[2]}};
}

sub columns_of {
  my ($stanzas) = @_;
  return join "\n", sort map {/^FIELDS = (.*)/m} values %{$stanzas->{$Tree::files[1]}};
}

# Whether what each run said of its file is what the configuration says.
sub check_answers {
  my ($tree, $stanzas) = @_;
  my ($props, $transforms, $models) = @{$stanzas}{@Tree::files};
  my %source_of = map {/^_source = (.*)\n_sourcetype = (.*)/m ? ($2 => $1) : ()} values %$models;
  my $answers   = 0;
  for my $process (1 .. $processes) {
    local $/;
    open my $in, '<', "$tree->{root}/out-$process" or die;
    for (split /^PROPERTIES OF /m, scalar <$in>) {
      my ($file, $sourcetype) = /^([^\n]*)\n.*\tsourcetype -> (.*?)\n/s or next;
      ++$answers;
      my $stanza = $props->{"[$sourcetype]"};
      if ($file =~ /app\.log/) {
        my $source = $source_of{$sourcetype} // 'no model';
        complain("$file: $sourcetype has $source") if !defined $stanza || $source ne $file;
      } elsif (my ($number) = $file =~ m,/(\d+)/table\.csv,) {
        my ($link)   = ($stanza // '') =~ /^REPORT-AutoHeader = (.*)/m;
        my ($fields) = ($transforms->{'[' . ($link // '') . ']'} // '') =~ /^FIELDS = (.*)/m;
        complain("$file: $sourcetype has the columns " . ($fields // 'of nobody')) if ($fields // '') !~ /"column$number"/;
      }
    }
  }
  complain("$answers answers") if $answers != $processes * ($files + 1);
}

my $serial   = tree_after(0)->stanzas;
my $tree     = tree_after(1);
my $parallel = $tree->stanzas;
for my $stanzas ($serial, $parallel) {
  for my $file (@Tree::files) {
    complain("$file has [$_] twice") for grep { $stanzas->{$file}{$_} =~ /\(again\)/ } keys %{$stanzas->{$file}};
  }
}
complain("the sourcetypes differ")
  if join("\n", sort keys %{$serial->{$Tree::files[0]}}) ne join "\n", sort keys %{$parallel->{$Tree::files[0]}};
complain('the models differ')  if models_of($serial) ne models_of($parallel);
complain('the columns differ') if columns_of($serial) ne columns_of($parallel);
check_answers($tree, $parallel);
complain("temporary files: " . join ' ', $tree->temporaries) if $tree->temporaries;

# A hundred at once, all of them with a new name: what a run has said is stored.
{
  my $many = Tree->new($datetime);
  my @names = map { 'new' . join '', map { chr(97 + $_) } split //, sprintf '%03d', $_ } 0 .. 99;
  $many->put("$names[$_].log", Tree::log_text($names[$_], $_ % 2 ? 3 : 120)) for 0 .. $#names;
  my $failed = 0;
  for my $name (@names) {
    next if fork;
    chdir $many->{root};
    $ENV{TARNEL_HOME} = $many->{root};
    open STDOUT, '>', "$name.out" or die;
    open STDERR, '>', "$name.err" or die;
    exec $program, "$name.log";
  }
  while (wait != -1) { ++$failed if $? }
  my ($props, undef, $models) = @{$many->stanzas}{@Tree::files};
  my %learned = map {/^_sourcetype = (.*)/m ? ($1 => 1) : ()} values %$models;
  for my $number (0 .. $#names) {
    my $sourcetype = $names[$number] . ($number % 2 ? '-too_small' : '');
    complain("[$sourcetype] is lost") if !defined $props->{"[$sourcetype]"};
    complain("the model of $sourcetype is lost") if $number % 2 == 0 && !$learned{$sourcetype};
  }
  complain("$failed of the hundred failed") if $failed;
  complain('they leave temporary files')    if $many->temporaries;
}

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

# A process that is stopped while it holds the lock, and then killed, is in nobody's way.
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

printf "%d processes with %d files each: %d sourcetypes, %d models, %d transforms; %d overlapping runs; %d errors\n",
  $processes, $files, map({ scalar keys %{$parallel->{$_}} } @Tree::files[0, 2, 1]), $overlaps, $errors;
exit($errors ? 1 : 0);
