#!/usr/bin/env bash
# Makes the models that ship: make_models.sh [--check] BUILD-DIRECTORY
#
# Every ninth log of tests/formats/logs is written anew and learned by the built program, in a tree
# without other models. The stanzas replace those of etc/apps/bundled-base/default/sourcetypes.conf,
# or are compared with them. They are the same on every machine.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
check=
if [ "$1" = --check ]; then
  check=1
  shift
fi
build=$(cd "$1" && pwd)
readonly root check build
readonly shipped=$root/etc/apps/bundled-base/default/sourcetypes.conf

# Events a log; a model is made of a thousand lines at most.
readonly events=400
# The max distance between the words of a file and of one of these models. The models are of made-up
# texts, and exist so that words which many logs have count little. The small limit keeps them from
# matching files that only resemble them. A file without any word is farther away from all of them.
readonly max_dist=3
# Words of a model that are kept, the most frequent ones. Distances between learned models hardly
# depend on the others, and reading them takes time in every run.
readonly words=25

# shipped_stanza NAME FILE: the first model of FILE with only its most frequent words.
shipped_stanza() {
  perl -we '
    my ($name, $words, $max_dist, $file) = @ARGV;
    open my $in, "<", $file or die "$file: $!\n";
    my $stanzas = 0;
    my %settings;
    while (<$in>) {
      last if /^\[/ && ++$stanzas > 1;
      $settings{$1} = $2 if /^([a-z_]\S*) = (.*)/ && $1 ne "maxDist" && $1 ne "_size";
    }
    my @own = grep { /^_/ } keys %settings;
    my @frequent = sort { $settings{$b} <=> $settings{$a} || $a cmp $b } grep { !/^_/ } keys %settings;
    splice @frequent, $words if @frequent > $words;
    my %kept = map { $_ => $settings{$_} } @own, @frequent;
    $kept{_size} = scalar keys %kept;
    $kept{maxDist} = $max_dist;
    print "[$name]\n", map { "$_ = $kept{$_}\n" } sort keys %kept;
  ' "$1" $words $max_dist "$2"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/samples" "$work/etc/system/default"
cp "$root/etc/apps/bundled-base/default/source-classifier.conf" "$work/etc/system/default/"
cd "$work"
# About a hundred models are enough, and more of them would make all distances larger.
"$build/tools/sample_logs" "$root/tests/formats/logs" samples $events | LC_ALL=C sort |
  awk 'NR % 9 == 1' >index

sed '/^\[/,$d' "$shipped" >models
separator=
while IFS=$'\t' read -r name sourcetype _; do
  mv "samples/$name.log" "samples/$name"
  TARNEL_HOME=$work "$build/src/sourcetype" "samples/$name" "$sourcetype" >/dev/null 2>err
  printf '%s' "$separator" >>models
  shipped_stanza "samples/$name" etc/apps/learned/local/sourcetypes.conf >>models
  separator=$'\n'
  rm -r etc/apps
done <index

if [ -n "$check" ]; then
  cmp models "$shipped"
else
  cp models "$shipped"
fi
