#!/usr/bin/env perl
# Lets many processes learn unknown files into one tree at once, and compares with one that does it
# alone: processes.pl PROGRAM DATETIME.XML [PROCESSES FILES NEW]
#
# Then NEW processes start at once, each with a file of a new name.
use strict;
use warnings;
use FindBin;
use lib $FindBin::Bin;
use Cwd qw(abs_path);
use POSIX ();
use Tree;

my ($program, $datetime) = map { abs_path($_) } @ARGV[0, 1];
my $processes = $ARGV[2] // 8;
my $files     = $ARGV[3] // 200;
my $new_names = $ARGV[4] // 100;
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
      system(@Tree::emulator, $program, $_) for "$process/few.log", map { name_of($process, $_) } 0 .. $files - 1;
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

# Many at once, all of them with a new name: what a run has said is stored.
{
  my $many = Tree->new($datetime);
  my @names = map { 'new' . join '', map { chr(97 + $_) } split //, sprintf '%03d', $_ } 0 .. $new_names - 1;
  $many->put("$names[$_].log", Tree::log_text($names[$_], $_ % 2 ? 3 : 120)) for 0 .. $#names;
  my $failed = 0;
  for my $name (@names) {
    next if fork;
    chdir $many->{root};
    $ENV{TARNEL_HOME} = $many->{root};
    open STDOUT, '>', "$name.out" or die;
    open STDERR, '>', "$name.err" or die;
    exec @Tree::emulator, $program, "$name.log";
  }
  while (wait != -1) { ++$failed if $? }
  my ($props, undef, $models) = @{$many->stanzas}{@Tree::files};
  my %learned = map {/^_sourcetype = (.*)/m ? ($1 => 1) : ()} values %$models;
  for my $number (0 .. $#names) {
    my $sourcetype = $names[$number] . ($number % 2 ? '-too_small' : '');
    complain("[$sourcetype] is lost") if !defined $props->{"[$sourcetype]"};
    complain("the model of $sourcetype is lost") if $number % 2 == 0 && !$learned{$sourcetype};
  }
  complain("$failed of $new_names failed") if $failed;
  complain('they leave temporary files')    if $many->temporaries;
}

printf "%d processes with %d files each: %d sourcetypes, %d models, %d transforms; %d errors\n",
  $processes, $files, map({ scalar keys %{$parallel->{$_}} } @Tree::files[0, 2, 1]), $errors;
exit($errors ? 1 : 0);
