#!/usr/bin/env bash
# What bash offers on the command line of sourcetype. With the directory of the completions as
# argument.
set -euo pipefail
completions=$(cd "$1" && pwd)
source "$completions/sourcetype.bash"

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
cd "$home"
export TARNEL_HOME=$home
failed=0

write() {
  mkdir -p "etc/$1"
  cat >"etc/$1/props.conf"
}

program=sourcetype

# expect WORD...: completes the last word, as readline cuts them apart, and compares the offers, in
# any order, with the lines of standard input.
expect() {
  COMP_WORDS=("$program" "$@")
  COMP_CWORD=$#
  "_${program//-/_}" "$program" "${@: -1}"
  local offered expected
  offered=
  [ ${#COMPREPLY[@]} = 0 ] || offered=$(printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort)
  expected=$(LC_ALL=C sort)
  [ "$offered" = "$expected" ] && return
  printf 'after: %s\noffered:\n%s\nexpected:\n%s\n\n' "$*" "$offered" "$expected" >&2
  failed=1
}

write system/local <<'TXT'
[web access]
KEY = \
[no_header]
  [pair]of]  
[source::/var/log/a]
sourcetype = web named
# [comment]\
[web$(touch evaluated)]
[web`touch evaluated`'"*!\]
[log4j:app]
TXT
printf '\xEF\xBB\xBF[web bom]\r\n[default]\r\n[rule::x]\r\nsourcetype = web rule \r\n' |
  write apps/some/default
printf '[web\033escape]\n[web user]' | write users/ann/some/local
mkdir -p etc/bundles/default
mkfifo etc/bundles/default/props.conf
touch train.log 'a file'

# The first word is a mode or a file.
expect tr <<<$'train\ntrain.log'
expect a </dev/null # left to readline
expect '' <<<$'--test\nleaks\nmanyfiles\nsettings\nspeed\ntext\ntrain\ntrain.log\na\\ file\netc/'

# The second is a sourcetype, which may hold anything.
names=$(cat <<'TXT'
web\ access
web\ named
web\ bom
web\ rule
web\ user
web\$\(touch\ evaluated\)
web\`touch\ evaluated\`\'\"\*\!\\
TXT
)
expect a.log web <<<"$names"
expect settings 'web\ a' <<<'web\ access'
expect settings 'web\' <<<"$names"
expect settings '"web a' <<<'web access'
expect settings "'web a" <<<'web access'
expect settings '"web$' <<<'web\$(touch evaluated)'
expect settings '"web`' </dev/null # "!" cannot be quoted there
expect settings "'web\`" <<<"web\`touch evaluated\`'\\''\"*!\\"
expect a.log pa <<<'pair\]of'
expect a.log no </dev/null
expect a.log com </dev/null
expect a.log sou </dev/null
expect a.log log4j : a <<<app
expect a.log log4j : <<<app
expect train web </dev/null
expect settings pair web </dev/null

# Options and their values.
expect --test --f <<<'--file='
expect --test --file = a </dev/null # left to readline
expect --test --file = a --given_type = web <<<"$names"
expect --test --given_type = <<<"log4j:app
pair\]of
$names"
expect --test --given_type = log4j : a <<<app
expect --test --sourcetype=pa <<<'--sourcetype=pair\]of' # without "=" in COMP_WORDBREAKS
expect --test --LEARN_MODEL = <<<$'true\nfalse'

# The companion: verbs, options of the verb, names.
program=sourcetype-inspect
expect ex <<<explain
expect --home / p <<<$'plan\npreview'
expect explain --q <<<--quiet
expect scan --c <<<$'--color\n--csv'
expect preview a.log --as pa <<<'pair\]of'
expect preview --set x=1 --s <<<$'--save\n--set'
expect plan a.log pa <<<'pair\]of'
expect plan a </dev/null # left to readline
expect learned f <<<forget
expect learned forget pair pa <<<'pair\]of'
expect settings pa <<<'pair\]of'
expect settings x --color al <<<always
program=sourcetype

# In whatever shell.
set -o noglob
expect a.log pa <<<'pair\]of'
set +o noglob
shopt -s failglob
expect a.log pa <<<'pair\]of'
unset TARNEL_HOME
expect a.log web </dev/null

# In zsh the names are read by the same program.
name_reader() {
  sed -n "/FNR == 1/,/^    }'/p" "$completions/$1" | sed "s/^    }'.*/}/"
}
if [ -z "$(name_reader _sourcetype)" ] ||
  [ "$(name_reader _sourcetype)" != "$(name_reader sourcetype.bash)" ]; then
  echo '_sourcetype reads names in another way than sourcetype.bash' >&2
  failed=1
fi

if [ -e evaluated ]; then
  echo 'the name of a sourcetype was evaluated' >&2
  failed=1
fi
exit "$failed"
