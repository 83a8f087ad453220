#!/usr/bin/env perl
# Replays the states that the disk may have after a power failure, and runs the tool in each:
# crash_states.pl PROGRAM INJECTOR DATETIME.XML [RUN...]
#
# The model of the disk: a sync of a file keeps its content, a sync of a directory keeps the names in
# it. Of what was written to a file after its sync, the first bytes are there, cut anywhere, or NULs in
# the place of all; a later write may be there without an earlier one. Of the changes of names in a
# directory after its sync, the first few are there. Which ones are there in one file or directory says
# nothing about the others.
use strict;
use warnings;
use FindBin;
use lib $FindBin::Bin;
use Cwd qw(abs_path);
use File::Basename qw(dirname);
use File::Path qw(make_path);
use Tree;

my ($program, $injector, $datetime, @wanted) = ((map { abs_path($_) } @ARGV[0 .. 2]), @ARGV[3 .. $#ARGV]);
die "there is no $injector\n" if !-e $injector;
my @runs = @wanted ? @wanted : qw(learn new small header train);
my $min_states = 6;      # of each run: what it writes first can be in so many states
my $max_states = 300;    # a run that syncs what it writes leaves fewer
my $max_errors = 10;

my $tree   = Tree->new($datetime);
my $etc    = "$tree->{root}/etc";
my $errors = 0;

# --- The disk ---

my %contents;    # of each file, by a number of its own: those that it may have, the newest last
my %names;       # of each directory: {path => file, or "directory"}, those that it may have
my %file_of;     # the file of each inode
my $files = 0;

sub new_file {
  my ($inode, $content) = @_;
  $file_of{$inode} = ++$files;
  $contents{$files} = [$content];
  return $files;
}

# The files and directories below the local directories, all of it synced.
sub start_disk {
  (%contents, %names, %file_of) = ();
  for my $directory (qw(system apps apps/learned), @Tree::directories) {
    $names{$directory} = [{}];
    for (map { substr $_, length "$etc/" } glob "$etc/$directory/{local,learned,*.conf}") {
      $names{$directory}[0]{$_} = new_file((stat "$etc/$_")[1], $tree->get($_)) if -f "$etc/$_";
      $names{$directory}[0]{$_} = 'directory'                                   if -d "$etc/$_";
    }
  }
}

# The contents that a file may have after a write, the whole text last. The text is cut in its first
# words, in the middle, at the end of a line, and before its last byte.
sub written {
  my ($old, $offset, $text) = @_;
  $old .= "\0" x ($offset - length $old) if $offset > length $old;
  my $half = int(length($text) / 2);
  my @cuts = (4, $half, 1 + index($text, "\n", $half), length($text) - 1, length $text);
  my @remains = map { substr $text, 0, $_ } @cuts;
  unshift @remains, "\0" x length $text if $offset == length $old;
  return map { my $new = $old; substr $new, $offset, length($_), $_; $new } @remains;
}

sub change {
  my ($what, $inode, $number, $bytes, $path) = @_;
  if ($what eq 'sync') {
    my $states = $names{$path} // $contents{$file_of{$inode} // 0} // return;
    @$states = $states->[-1];
  } elsif ($what eq 'write' || $what eq 'truncate') {
    my $states = $contents{$file_of{$inode}};
    push @$states, $what eq 'truncate' ? substr $states->[-1], 0, $number : map { written($_, $number, $bytes) } @$states;
  } else {
    my $states = $names{dirname($path)} //= [{}];
    my %new    = %{$states->[-1] // {}};
    $new{$path}  = new_file($inode, '') if $what eq 'create';
    $new{$path}  = 'directory'          if $what eq 'mkdir';
    $new{$bytes} = $new{$path}          if $what eq 'rename' || $what eq 'link';
    delete $new{$path}                  if $what eq 'rename' || $what eq 'unlink';
    push @$states, \%new;
  }
}

# What a reader sees without a power failure.
sub newest_state {
  my %state = map { %{$_->[-1]} } values %names;
  return {map { $_ => $state{$_} eq 'directory' ? undef : $contents{$state{$_}}[-1] } keys %state};
}

# Every state of the disk: {path => content, or undef for a directory}.
sub disk_states {
  my @states = ({});
  for my $choices (values %names) {
    @states = map { my $state = $_; map { {%$state, %$_} } @$choices } @states;
  }
  my @found;
  for my $state (@states) {
    for my $path (sort keys %$state) {    # what stands in a directory that is not there is gone
      my $parent = dirname($path);
      delete $state->{$path} if $parent !~ /^(system|apps)$/ && !exists $state->{$parent};
    }
    my @variants = {};
    for my $path (keys %$state) {
      my $choices = $state->{$path} eq 'directory' ? [undef] : $contents{$state->{$path}};
      @variants = map { my $variant = $_; map { {%$variant, $path => $_} } @$choices } @variants;
    }
    push @found, @variants;
  }
  my %different = map { key_of($_) => $_ } @found;
  return values %different;
}

sub key_of {
  my ($state) = @_;
  return join "\0", map { ($_, $state->{$_} // 'directory') } sort keys %$state;
}

sub write_state {
  my ($state) = @_;
  $tree->remove_local;
  for my $path (sort keys %$state) {
    defined $state->{$path} ? $tree->put("etc/$path", $state->{$path}) : make_path("$etc/$path");
  }
}

# --- A run and its journal ---

# The changes that the run makes: [what, inode, number, bytes, path] each.
sub journal_of {
  my ($run) = @_;
  local @ENV{qw(LD_PRELOAD FAULT_CALL FAULT_BELOW FAULT_JOURNAL)} = ($injector, '', "$etc/", "$tree->{root}/journal");
  unlink $ENV{FAULT_JOURNAL};
  my $mask = umask(-e "$etc/system/local" ? 0 : 022);    # what is not to be seen has to be made so
  $tree->run($program, @{$Tree::words{$run}}) == 0 or die "$run does not run";
  umask $mask;
  open my $in, '<', $ENV{FAULT_JOURNAL} or die "no journal: $!";
  my @changes;
  while (defined(my $line = <$in>)) {
    chomp $line;
    my ($what, $inode, $number, $size, $path) = split /\t/, $line;
    read $in, my ($bytes), $size;
    if ($what eq 'create' && $path =~ /\.(tmp|lock)$/ && $number & 077) {
      complain($run, sprintf '%s is made with the permissions %o', $path, $number);
    }
    s,^\Q$etc\E/,, for $path, $bytes;
    push @changes, [$what, $inode, $number, $bytes, $path] if $path !~ /\.lock$/;
  }
  return @changes;
}

sub complain {
  my ($run, $what) = @_;
  ++$errors;
  print STDERR "$run: $what\n", $tree->said =~ s/^/  /gmr;
  exit 1 if $errors == $max_errors;
}

# Made-up names may have other numbers in another run.
sub without_numbers { return $_[0] =~ s/-\d+//gr }

sub stanza_texts {
  my ($stanzas) = @_;
  return map { my $file = $_; map { without_numbers("$file $_\n$stanzas->{$file}{$_}") } keys %{$stanzas->{$file}} } @Tree::files;
}

# Old stanzas that a tree has no more. Nothing is lost that train has set aside.
sub losses {
  my ($old) = @_;
  return map { $tree->losses($_, $old->{$_}) } @Tree::files;
}

# Answers without learning. What was cut off is reported and dropped.
sub verdict {
  return $tree->verdict($program) =~ s/^WARN .*(?:sourcetypes|props)\.conf.*\n//mgr;
}

# Each run begins with the files that are there to be lost, and with empty directories.
my @beginnings =
  (sub { $tree->restore }, sub { $tree->remove_local },
   sub { $tree->remove_local; make_path(map {"$etc/$_"} @Tree::directories) });

for my $case (map { my $run = $_; map { [$run, $_] } @beginnings } @runs) {
  my ($run, $begin) = @$case;
  $begin->();
  my $old     = $tree->stanzas;
  my $earlier = verdict();
  $begin->();
  start_disk();
  my @changes = journal_of($run);
  my $new     = $tree->stanzas;
  my $out     = without_numbers($tree->out);
  my %states;
  for my $change (@changes) {
    change(@$change);
    $states{key_of($_)} = $_ for disk_states();
    last if keys %states > $max_states;
  }
  my $count = keys %states;
  if ($count < $min_states || $count > $max_states) {
    complain($run, "the disk has $count states or more");
    next;
  }
  my $newest    = newest_state();
  my @differing = grep { defined $newest->{$_} && $tree->get($_) ne $newest->{$_} } keys %$newest;
  complain($run, "the journal is wrong about @differing") if @differing;
  my $later = verdict();
  my @final = disk_states();
  for my $state (@final) {
    write_state($state);
    my @lost = losses($new);
    complain($run, "after its end, a power failure takes @lost") if @lost;
  }

  for my $state (values %states) {
    write_state($state);
    my $about = sub {
      complain($run, join "\n", @_, 'in', map {"--- $_\n" . ($state->{$_} // 'directory')} sort keys %$state);
    };
    my @lost = losses($old);
    $about->("it lost @lost") if @lost;
    my $verdict = verdict();
    $about->("the tool says\n$verdict") if $verdict ne $earlier && $verdict ne $later;

    my $status = $tree->run($program, @{$Tree::words{$run}});
    $about->("the next run ends with $status and says\n" . $tree->out)
      if $status != 0 || without_numbers($tree->out) ne $out;
    my %there   = map { $_ => 1 } stanza_texts($tree->stanzas);
    my @missing = grep { !$there{$_} } stanza_texts($new);
    $about->("the next run does not write @missing") if @missing;
    my @temporaries = $tree->temporaries;
    $about->("the next run leaves @temporaries") if @temporaries;
    $verdict = verdict();
    $about->("after the next run the tool says\n$verdict") if without_numbers($verdict) ne without_numbers($later);
  }
  printf "%-7s %3d changes, %4d states of the disk, %d at the end\n", $run, scalar @changes, $count, scalar @final;
}
print "$errors errors\n";
exit($errors ? 1 : 0);
