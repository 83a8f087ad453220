# A small configuration tree, the files to classify in it, and what stands in it after a run.
package Tree;
use strict;
use warnings;
use File::Path qw(make_path remove_tree);
use File::Copy qw(copy);
use File::Temp qw(tempdir);

# The words of each run that the tests disturb.
our %words = (learn => ['app.log', 'mine'], new => ['app.log'], small => ['few.log'], header => ['table.csv'],
  train => ['train']);

# Every .conf file that a run writes, and their directories.
our @files       = qw(system/local/props.conf system/local/transforms.conf apps/learned/local/sourcetypes.conf);
our @directories = qw(system/local apps/learned/local);

# Learned models and settings that were there before, so that there is something to lose.
my $old_props  = "# kept\n" . join "\n", map {"[old-$_]\nSHOULD_LINEMERGE = False\nnote = n$_\n"} 1 .. 5;
my $old_models = join "\n", map {"[old_$_]\n_size = 3\n_source = s\n_sourcetype = old-$_\n~=$_ = 1\n"} 1 .. 5;

# The tree is deleted at the end of the program.
sub new {
  my ($class, $datetime, %text) = @_;
  my $root = tempdir('sourcetype-faults-XXXXXX', TMPDIR => 1, CLEANUP => 1);
  my $self = bless {root => $root}, $class;
  $self->put('etc/system/default/props.conf',
    "[default]\nCHARSET = auto\n[source::....csv]\nsourcetype = csv\nCHECK_FOR_HEADER = true\n[csv]\n[too_small]\n");
  $self->put('etc/system/local/props.conf',               $text{props}  // $old_props);
  $self->put('etc/system/local/transforms.conf',          "[old]\nREGEX = x\n");
  $self->put('etc/apps/learned/local/sourcetypes.conf',   $text{models} // $old_models);
  $self->put('etc/system/default/literals.conf', "[FILE_CLASSIFIER]\nNONE = needed here\n");
  $self->put('etc/log-cmdline.cfg',
    "rootCategory = WARN, c\nappender.c = ConsoleAppender\nappender.c.target = stderr\nappender.c.layout = SimpleLayout\n");
  $self->put('app.log',   log_text('alpha', 150));
  $self->put('few.log',   log_text('alpha', 3));
  $self->put('table.csv', join '', map {"$_,b$_,c$_\n"} 'id', 1 .. 5);
  $self->put('training.conf', "[trained]\n1 = app.log\n");
  $self->put('names', "app.log\nfew.log\ntable.csv\n");
  copy($datetime, "$root/etc/datetime.xml") or die "$datetime: $!";
  $self->{before} = {map { $_ => $self->get($_) } @files};
  return $self;
}

# Lines of one form with words of their own: no model of another text takes them.
sub log_text {
  my ($word, $lines) = @_;
  return join '', map { sprintf "2026-01-02 03:04:%02d %s_%s unit=%d changed\n", $_ % 60, $word, $word x 2, $_ }
    1 .. $lines;
}

sub put {
  my ($self, $name, $text) = @_;
  my $file = "$self->{root}/$name";
  make_path($file =~ s,/[^/]*$,,r);
  open my $out, '>', $file or die "$file: $!";
  print $out $text;
  close $out or die "$file: $!";
}

# The content of a file below etc; empty when there is none.
sub get {
  my ($self, $name) = @_;
  local $/;
  open my $in, '<', "$self->{root}/etc/$name" or return '';
  return scalar <$in>;
}

# Makes the files that a run writes what they were when the tree was made.
sub restore {
  my ($self) = @_;
  $self->remove_local;
  $self->put("etc/$_", $self->{before}{$_}) for @files;
}

sub remove_local {
  my ($self) = @_;
  remove_tree("$self->{root}/etc/system/local", "$self->{root}/etc/apps/learned");
}

# The stanzas of each: file => {header => text}. The names of models that runs make hold times and
# numbers of their own: their text is the name.
sub stanzas {
  my ($self) = @_;
  return {map { $_ => $self->stanzas_of($_) } @files};
}

# Those of one file.
sub stanzas_of {
  my ($self, $file) = @_;
  my %found;
  for (split /^(?=\[)/m, $self->get($file)) {
    my ($header, $rest) = /^(\[[^\n]*)\n?(.*)/s ? ($1, $2) : ('', $_);
    $rest =~ s/^\0+$//mg;    # a line that never reached the disk
    $rest =~ s/\n+$//;
    $header = "model: $rest" if $header =~ /_\d{4}-\d\d-\d\dT[\d:]+Z_\d+\]$/;
    $found{$header} = exists $found{$header} ? "$found{$header}\n(again)\n$rest" : $rest;
  }
  return \%found;
}

# As one text, to compare.
sub text_of {
  my ($stanzas) = @_;
  return join "\n\n", map {"$_\n$stanzas->{$_}"} sort keys %$stanzas;
}

# Names of stanzas that are missing or changed in a file, of which there was $before, and in the copy
# of it that train sets aside.
sub losses {
  my ($self, $file, $before) = @_;
  my %now = (%{$self->stanzas_of("$file.old")}, %{$self->stanzas_of($file)});
  return grep { !exists $now{$_} || $now{$_} ne $before->{$_} } sort keys %$before;
}

sub temporaries {
  my ($self) = @_;
  return map { glob "$self->{root}/etc/$_/*.tmp" } @directories;
}

# What runs the program where it is one of another system.
our @emulator = split ' ', $ENV{EMULATOR} // '';

# Runs the tool in the tree's root. Gives its wait status; output goes to out and err there.
sub run {
  my ($self, $program, @words) = @_;
  my $pid = $self->start($program, @words);
  waitpid $pid, 0;
  return $?;
}

# The same without waiting. Gives the process number.
sub start {
  my ($self, $program, @words) = @_;
  my $pid = fork // die "fork: $!";
  return $pid if $pid;
  chdir $self->{root} or die;
  $ENV{TARNEL_HOME} = $self->{root};
  open STDIN,  '<', $self->{input} // '/dev/null' or die;
  open STDOUT, '>', 'out' or die;
  open STDERR, '>', 'err' or die;
  exec @emulator, $program, @words or die "$program: $!";
}

sub out {
  my ($self) = @_;
  local $/;
  open my $in, '<', "$self->{root}/out" or die;
  return scalar <$in>;
}

# What the tool makes of the tree: its answers without learning, and warnings.
sub verdict {
  my ($self, $program) = @_;
  local $self->{input} = 'names';
  my $status = $self->run($program, 'manyfiles');
  return "status $status, " . $self->out . $self->said;
}

# What standard error said, warnings and errors.
sub said {
  my ($self) = @_;
  open my $in, '<', "$self->{root}/err" or die;
  return join '', grep { !/^Using logging/ } <$in>;
}

1;
