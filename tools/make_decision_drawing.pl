#!/usr/bin/env perl
# Writes docs/how-it-decides.svg: make_decision_drawing.pl BUILD-DIRECTORY [--check FILE]
#
# The drawing has the stages of a classification, and what each sees of two bundled samples. These
# facts come from runs of the programs of the build, with a new copy of etc/.
use strict;
use warnings;
use Cwd qw(abs_path getcwd);
use File::Basename qw(dirname);
use File::Temp qw(tempdir);
use JSON::PP qw(decode_json);

my ($build, @options) = @ARGV;
die "usage: make_decision_drawing.pl BUILD-DIRECTORY [--check FILE]\n" unless defined $build;
$build = abs_path($build);
my $started_in = getcwd();
my $source = abs_path(dirname(__FILE__) . '/..');
my ($first, $second) = ('samples/dispatch.log', 'samples/dispatch-evening.log');

sub output_of {
  open my $in, '-|', @_ or die "$_[0]: $!\n";
  local $/ = undef;
  my $text = <$in>;
  close $in;
  die "$_[0] failed\n" if $? >> 8 > 1;  # 1: the file is not recognised
  return $text;
}

sub explain {
  return decode_json(output_of("$build/src/sourcetype-inspect", '--json', 'explain', @_));
}

sub count_stanzas {
  my ($pattern, @files) = @_;
  my $count = 0;
  for my $file (@files) {
    open my $in, '<', $file or die "$file: $!\n";
    $count += grep { /^\[$pattern/ } <$in>;
  }
  return $count;
}

my $home = tempdir(CLEANUP => 1);
system('cp', '-R', "$source/etc", $home) == 0 or die "cannot copy $source/etc\n";
chdir $source or die "$source: $!\n";
$ENV{TARNEL_HOME} = $home;
my @props  = glob("$home/etc/apps/bundled-*/default/props.conf");
my $rules   = count_stanzas('rule::', @props);
my $delayed = count_stanzas('delayedrule::', @props);
my $models  = count_stanzas('samples/', "$home/etc/apps/bundled-base/default/sourcetypes.conf");

my $new = explain($first);
output_of('sh', '-c', "'$build/src/sourcetype' $first 2>&1");
my $known = explain($second);
die "$first is not a new sourcetype\n" unless $new->{stage} eq 'new';
die "$second is not recognised by a model\n" unless $known->{stage} eq 'model';
for my $file ($new, $known) {
  die "$file->{file} asks for a header line\n" if $file->{configured}{CHECK_FOR_HEADER};
}

sub thousands {
  my ($number) = @_;
  1 while $number =~ s/^(\d+)(\d{3})/$1,$2/;
  return $number;
}

sub sample {
  my ($sample) = ($_[0]->{sample});
  return "$sample->{lines} lines, " . thousands($sample->{bytes}) . ' bytes';
}

sub closest {
  my ($file) = @_;
  return sprintf '%s at %.1f', $file->{models}[0]{sourcetype}, $file->{models}[0]{distance};
}

sub charset { return "CHARSET = $_[0]->{settings}{CHARSET}{value}" }
sub invalid { return sprintf '%g %% invalid', $_[0]->{sample}{invalid_percent} }

my %written = map { $_->{file} =~ m{([^/]+)$}; $1 => $_->{added} } @{$new->{would_write}};
my $lookahead = $new->{settings}{MAX_TIMESTAMP_LOOKAHEAD}{value};

my $after_valid = 'after each green answer';

# A stage: its name, what it does, when it ends the classification, the answer then, and what it
# sees of both samples. "!" marks the stage that decides.
my @stages = (
  ['Settings for the path', 'source:: stanzas of props.conf, and --given_type', '', '',
    charset($new) . '; no sourcetype', charset($known) . '; no sourcetype'],
  ['Regular file?', 'looks at the path, not at the content', 'no', 'failed_stat, not_regular_file',
    'yes', 'yes'],
  ['Sample', '20,000 lines or 20 MB at most, converted to UTF-8', 'cannot be opened', 'cannot_read',
    sample($new), sample($known)],
  ['Text?', 'less than 10 % of the bytes are invalid', 'no', 'binary',
    invalid($new), invalid($known)],
  ['Sourcetype configured?', 'by the first stage', 'yes', 'the configured sourcetype',
    'no', 'no'],
  ['At least 100 lines?', 'without empty lines', 'no', 'NAME-too_small',
    "yes, $new->{sample}{lines}", "yes, $known->{sample}{lines}"],
  ['Rules', 'shares of the first 1,000 lines', 'all tests of a rule pass', 'the sourcetype of the rule',
    "none of $rules rules passes", "none of $rules rules passes"],
  ['Learned models', 'distance of words and line shapes', 'closest at 650 or less',
    'the sourcetype of the model',
    "closest of $models: too far|" . closest($new),
    '!closest of ' . ($models + 1) . ': close enough|' . closest($known)],
  ['Delayed rules', 'forms that many programs share', 'all tests of a rule pass',
    'the sourcetype of the rule', "none of $delayed rules passes", '-'],
  ['New sourcetype', 'name of the file; events and timestamps', 'always', 'the new sourcetype',
    "!named $new->{sourcetype}|timestamp: first $lookahead bytes", '-'],
  ['Header line', 'columns, if CHECK_FOR_HEADER is true', '', $after_valid, 'not asked for', 'not asked for'],
  ['Write', 'props.conf, then a model in sourcetypes.conf', '', $after_valid,
    "$written{'props.conf'} lines of settings,|$written{'sourcetypes.conf'} lines of a model",
    @{$known->{would_write}} ? die "$second would be learned\n" : 'nothing'],
);

my ($row, $top, $width) = (62, 78, 1120);
my ($stage_x, $stage_width, $answer_x, $answer_width) = (20, 330, 420, 220);
my @sample_x = (670, 900);
my $height = $top + $row * @stages + 16;

sub escape {
  my ($text) = @_;
  $text =~ s/&/&amp;/g;
  $text =~ s/</&lt;/g;
  return $text;
}

sub text {
  my ($x, $y, $class, $text) = @_;
  return sprintf qq(<text x="%d" y="%d" class="%s">%s</text>\n), $x, $y, $class, escape($text);
}

sub box {
  my ($x, $y, $width, $height, $class) = @_;
  return qq(<rect x="$x" y="$y" width="$width" height="$height" rx="6" class="$class"/>\n);
}

sub arrow {
  my ($x1, $y1, $x2, $y2) = @_;
  return qq(<path d="M$x1 ${y1}L$x2 $y2" class="line" marker-end="url(#tip)"/>\n);
}

# What a stage sees of a sample, in one or two lines.
sub seen {
  my ($x, $y, $text) = @_;
  my $decides = $text =~ s/^!//;
  return text($x, $y + 28, 'faint', 'not reached') if $text eq '-';
  my @lines = split /\|/, $text;
  my $drawn = $decides ? box($x - 8, $y, 222, 46, 'chosen') : '';
  my $line_y = $y + (@lines == 1 ? 28 : 20);
  for my $line (@lines) {
    $drawn .= text($x, $line_y, $decides ? 'bold' : 'plain', $line);
    $line_y += 17;
  }
  return $drawn;
}

my $body = text($stage_x, 52, 'head', 'Stage') . text($answer_x, 52, 'head', 'Answer of the stage')
  . text($sample_x[0], 34, 'head', 'First run') . text($sample_x[0], 52, 'faint', $first)
  . text($sample_x[1], 34, 'head', 'Second run') . text($sample_x[1], 52, 'faint', $second);
my $y = $top;
for my $number (1 .. @stages) {
  my ($name, $what, $condition, $answer, @seen) = @{$stages[$number - 1]};
  my $middle = $y + 23;
  $body .= box($stage_x, $y, $stage_width, 46, 'box') . text($stage_x + 12, $y + 20, 'bold', "$number. $name")
    . text($stage_x + 12, $y + 37, 'small', $what);
  $body .= arrow($stage_x + 40, $y + 46, $stage_x + 40, $y + $row - 1) if $number < @stages;
  if ($answer && !$condition) {
    $body .= text($answer_x + 12, $y + 28, 'faint', $answer);
  } elsif ($answer) {
    $body .= arrow($stage_x + $stage_width, $middle, $answer_x - 1, $middle)
      . box($answer_x, $y, $answer_width, 46, $answer =~ /_(?:stat|read)|binary/ ? 'invalid' : 'answer')
      . text($answer_x + 12, $y + 20, 'small', "$condition:") . text($answer_x + 12, $y + 37, 'plain', $answer);
  }
  $body .= seen($sample_x[$_], $y, $seen[$_]) for 0, 1;
  $y += $row;
}

my $drawing = <<"SVG";
<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 $width $height" role="img" aria-labelledby="title desc">
<!-- tools/make_decision_drawing.pl makes this drawing. -->
<title id="title">From the bytes of a file to its sourcetype</title>
<desc id="desc">Twelve stages in order, the answer of each if it ends the classification, and what each sees of two bundled samples. Stages 11 and 12 follow each answer in green. The first sample gets a new sourcetype; a model recognises the second.</desc>
<style>
text { font-family: sans-serif; font-size: 13px; fill: #1c2430; }
.head { font-weight: bold; font-size: 15px; }
.bold { font-weight: bold; }
.small { font-size: 12px; fill: #465364; }
.faint { font-size: 12px; fill: #5f6b7a; }
.ground { fill: #ffffff; }
.box { fill: #e8eef7; stroke: #6b7f9c; }
.answer { fill: #e4f3e6; stroke: #5c8f63; }
.invalid { fill: #f8e7e4; stroke: #b0685c; }
.chosen { fill: #fff3c4; stroke: #a3831b; }
.line { stroke: #5f6b7a; fill: none; }
.tip { fill: #5f6b7a; }
\@media (prefers-color-scheme: dark) {
text { fill: #e6edf3; }
.small { fill: #b6c2cf; }
.faint { fill: #9aa7b4; }
.ground { fill: #11161d; }
.box { fill: #1d2a3d; stroke: #7f96b5; }
.answer { fill: #17301c; stroke: #6fae79; }
.invalid { fill: #3a1e1a; stroke: #cf8577; }
.chosen { fill: #3d3310; stroke: #cfae45; }
.line { stroke: #9aa7b4; }
.tip { fill: #9aa7b4; }
}
</style>
<defs><marker id="tip" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="8" markerHeight="8" orient="auto"><path d="M0 0L8 4L0 8z" class="tip"/></marker></defs>
<rect width="$width" height="$height" class="ground"/>
$body</svg>
SVG

chdir $started_in;
if (@options == 2 && $options[0] eq '--check') {
  open my $in, '<', $options[1] or die "$options[1]: $!\n";
  local $/ = undef;
  die "$options[1] is not what tools/make_decision_drawing.pl makes\n" unless <$in> eq $drawing;
} else {
  print $drawing;
}
