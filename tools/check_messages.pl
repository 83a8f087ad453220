#!/usr/bin/perl
# Fails unless the code, etc/apps/bundled-base/default/literals.conf and docs/messages.md have the same messages:
# each message that is logged has a text, each text is logged, and the page tells the key, level,
# category and text of each.
use strict;
use warnings;
use File::Find;
use FindBin;

chdir "$FindBin::Bin/.." or die "$FindBin::Bin/..: $!\n";
my $catalog = 'etc/apps/bundled-base/default/literals.conf';
my $page = 'docs/messages.md';
my @faults;

sub content_of {
  my ($path) = @_;
  open my $file, '<', $path or die "$path: $!\n";
  local $/;
  return scalar <$file>;
}

# The sources without comments, by path, and the log categories by the names of their variables.
my (%code_of, %category);
find({no_chdir => 1, wanted => sub {
  return unless /\.(?:cpp|h)$/;
  ($code_of{$_} = content_of($_)) =~ s{//.*}{}g;
  %category = (%category, $code_of{$_} =~ /LogCategory (\w+)[({]"(\w+)"/g);
}}, 'src');

# What the code logs, by key: "LEVEL, category".
my %logged;
for (sort keys %code_of) {
  my $code = $code_of{$_};
  my $count = () = $code =~ /FILE_CLASSIFIER_/g;
  while ($code =~ /logMessage\(LogLevel::(\w+), (\w+),\s*"FILE_CLASSIFIER_([^"]+)"/g) {
    my ($level, $variable, $key) = (uc $1, $2, uc $3);
    $key =~ tr/%//d;
    my $way = "$level, " . ($category{$variable} // '?');
    push @faults, "$_: $key is logged as \"$way\", elsewhere as \"$logged{$key}\""
      if ($logged{$key} //= $way) ne $way;
    --$count;
  }
  push @faults, "$_: a message is logged in a way that cannot be read here" if $count;
}

my %text = content_of($catalog) =~ /^(\w+) = (.*)$/mg;

# The sections of the page that stand for a message.
my (%told_way, %told_text);
for my $section (split /^(?=##+ )/m, content_of($page)) {
  my ($key, $rest) = $section =~ /^### (\w+)\n\n(.*)/s or next;
  ($told_way{$key}, $told_text{$key}) = $rest =~ /^([^\n]*)\n\n((?:> [^\n]*\n)+)\n\S/;
  ($told_text{$key} //= '') =~ s/^> //mg;
  $told_text{$key} =~ s/\n(?=.)/ /g;
  chomp $told_text{$key};
}

for my $key (sort keys %{{%logged, %text, %told_way}}) {
  push @faults, "$key: nothing logs it" unless $logged{$key};
  push @faults, "$key: no text in $catalog" unless defined $text{$key};
  push @faults, "$key: not as it is logged in $page: $logged{$key}"
    if $logged{$key} && ($told_way{$key} // '') ne $logged{$key};
  push @faults, "$key: not the text of $catalog in $page: $text{$key}"
    if defined $text{$key} && ($told_text{$key} // '') ne $text{$key};
}
push @faults, 'no message was found in src' unless %logged;
print STDERR "check_messages: $_\n" for @faults;
exit(@faults ? 1 : 0);
