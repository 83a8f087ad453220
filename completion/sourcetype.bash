# Completion of the command line of sourcetype in bash.
#
# Names of files and sourcetypes may hold any character. They are data throughout: nothing here is
# evaluated, and what is offered is quoted here, since readline leaves "$" and "`" as they are.

# Prints the sourcetypes of the configuration that begin with $1, a line each: the stanzas of
# props.conf that are none of another kind, and what other stanzas name as "sourcetype". What has
# control characters or several lines is left out.
_sourcetype_names() (
  home=${TARNEL_HOME-}
  [[ -n $home ]] || exit 0
  [[ $home == /* ]] || home=./$home # awk takes "a=b" for an assignment
  set +f
  shopt -u failglob
  shopt -s nullglob
  files=()
  for file in "$home"/etc/{system,apps/*,users/*/*}/local/props.conf \
    "$home"/etc/{apps/*,bundles,system}/default/props.conf; do
    if [[ -f $file && -r $file ]]; then files+=("$file"); fi # reading a FIFO would wait
  done
  ((${#files[@]})) || exit 0
  typed=$1 LC_ALL=C awk '
    FNR == 1 { continued = 0; sub(/^\357\273\277/, "") }
    { sub(/\r$/, "") }
    continued { continued = /\\$/; next }
    /^[ \t]*[;#]/ { next }
    { continued = /\\$/ }
    continued { next }
    /^[ \t]*\[.*\]/ {
      sub(/^[ \t]*\[/, "")
      sub(/\][^\]]*$/, "")
      if ($0 != "default") add($0)
      next
    }
    /^[ \t]*sourcetype[ \t]*=/ {
      sub(/^[ \t]*sourcetype[ \t]*=[ \t]*/, "")
      sub(/[ \t]+$/, "")
      add($0)
    }
    function add(name) {
      if (name == "" || name ~ /::/ || name ~ /[\001-\037\177]/ || name in seen) return
      seen[name]
      if (substr(name, 1, length(ENVIRON["typed"])) == ENVIRON["typed"]) print name
    }' "${files[@]}"
)

# Sets `plain` to the word $1 without its quotes; one that is not closed is what completion sees.
_sourcetype_unquote() {
  local rest=$1
  plain=
  if [[ $rest == \'* ]]; then
    plain=${rest#\'}
    return
  fi
  rest=${rest#\"}
  while [[ $rest == *\\?* ]]; do
    plain+=${rest%%\\*}
    rest=${rest#*\\}
    plain+=${rest:0:1}
    rest=${rest:1}
  done
  plain+=${rest%\\} # where offers have a part in common, it may end within \x
}

# Sets `quoted` to $1 as it is written behind the quote that $2 begins with, if it does. Fails where
# there is no way: "!" between double quotes may stand for a line of the history.
_sourcetype_quote() {
  quoted=$1
  case $2 in
    \'*) quoted=${1//\'/\'\\\'\'} ;;
    \"*)
      [[ $1 != *!* ]] || return 1
      quoted=${quoted//\\/\\\\}
      quoted=${quoted//\"/\\\"}
      quoted=${quoted//\$/\\\$}
      quoted=${quoted//\`/\\\`}
      ;;
    *) [[ -z $1 ]] || printf -v quoted %q "$1" ;;
  esac
}

# What is typed here is no file's name. (Fails where nobody completes, as in a test.)
_sourcetype_no_files() {
  compopt +o default +o bashdefault 2>/dev/null || true
}

# Offers those of the words $1... that begin with `typed`, without `before`.
_sourcetype_offer() {
  local word quoted
  for word; do
    if [[ $word == "$typed"* ]] && _sourcetype_quote "${word#"$before"}" "$piece"; then
      COMPREPLY+=("$quoted")
    fi
  done
}

# Offers the sourcetypes that begin with $1, each behind the option $2.
_sourcetype_offer_names() {
  local names
  mapfile -t names < <(_sourcetype_names "$1")
  _sourcetype_offer "${names[@]/#/$2}"
  _sourcetype_no_files
}

# Offers the modes, and the files beside them.
_sourcetype_offer_modes() {
  local files i
  _sourcetype_offer --test leaks manyfiles settings speed text train
  ((${#COMPREPLY[@]})) || return 0 # readline knows best about files
  mapfile -t files < <(compgen -f -- "$typed")
  for i in "${!files[@]}"; do
    if [[ -d ${files[i]} ]]; then files[i]+=/; fi
  done
  _sourcetype_offer "${files[@]}"
}

# Sets `words` to the words up to the cursor, `typed` to the last of them, `piece` to what readline
# will replace, and `before` to what stands in front of it in the same word. Fails without a word.
_sourcetype_read_words() {
  local plain
  COMPREPLY=()
  # Readline cuts words apart at "=" and ":", which belong to ours.
  for piece in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
    if ((${#words[@]})) && [[ $piece == [=:]* || ${words[-1]} == *[=:] ]]; then
      words[-1]+=$piece
    else
      words+=("$piece")
    fi
  done
  ((${#words[@]})) || return 1
  if [[ $piece == [=:]* ]]; then piece=; fi
  _sourcetype_unquote "${words[-1]%"$piece"}"
  before=$plain
  _sourcetype_unquote "$piece"
  typed=$before$plain
}

_sourcetype() {
  local words=() piece typed before
  _sourcetype_read_words || return 0

  # Where nothing is offered, readline completes names of files.
  case ${#words[@]},${words[0]} in
    1,*) _sourcetype_offer_modes ;;
    *,--test)
      case $typed in
        --file=*) ;;
        --given_type=* | --sourcetype=*)
          _sourcetype_offer_names "${typed#*=}" "${typed%%=*}="
          ;;
        --CHECK_FOR_HEADER=* | --LEARN_MODEL=*)
          _sourcetype_offer "${typed%%=*}="{true,false}
          ;;
        *)
          _sourcetype_offer --file= --given_type= --sourcetype= --CHECK_FOR_HEADER= \
            --LEARN_MODEL= --MAX_TIMESTAMP_LOOKAHEAD= --TIME_PREFIX=
          compopt -o nospace 2>/dev/null || true
          ;;
      esac
      ;;
    2,leaks | 2,text) ;;
    2,train | 2,manyfiles | 2,speed) _sourcetype_no_files ;;
    2,*) _sourcetype_offer_names "$typed" "" ;;
    *) _sourcetype_no_files ;;
  esac
  return 0
}

# Prints the options of a verb of sourcetype-inspect, and those of every verb.
_sourcetype_inspect_options() {
  printf '%s\n' --home --json --color --quiet --help
  case $1 in
    preview) printf '%s\n' --as --set --save --max ;;
    scan) printf '%s\n' --csv -j ;;
    report) printf '%s\n' --evaluate -j -o ;;
    settings) printf '%s\n' --all ;;
    learned) printf '%s\n' --yes ;;
    evaluate) printf '%s\n' --folds --no-rules --with-learned ;;
    '') printf '%s\n' --version ;;
  esac
}

_sourcetype_inspect() {
  local words=() piece typed before word verb='' count=0 last='' options
  _sourcetype_read_words || return 0
  # The verb, and the number of words after it that are no options.
  for word in "${words[@]:0:${#words[@]}-1}"; do
    case $last,$word in
      --home,* | --color,* | --as,* | --set,* | --max,* | --evaluate,* | --folds,* | -o,* | -j,*) ;;
      *,-*) ;;
      *) if [[ -z $verb ]]; then verb=$word; else ((++count)); fi ;;
    esac
    last=$word
  done
  case $last in
    --home | --evaluate | -o) return 0 ;; # readline knows best about files
    --color) _sourcetype_offer auto always never; _sourcetype_no_files; return 0 ;;
    --as) _sourcetype_offer_names "$typed" ""; return 0 ;;
    --set | --max | --folds | -j) _sourcetype_no_files; return 0 ;;
  esac
  if [[ $typed == -* ]]; then
    mapfile -t options < <(_sourcetype_inspect_options "$verb")
    _sourcetype_offer "${options[@]}"
    return 0
  fi
  case $verb,$count in
    ,*)
      _sourcetype_offer check evaluate explain learned plan preview report scan settings
      _sourcetype_no_files
      ;;
    learned,0) _sourcetype_offer forget list restore show; _sourcetype_no_files ;;
    learned,* | plan,1) _sourcetype_offer_names "$typed" "" ;;
    settings,0)
      _sourcetype_offer_names "$typed" ""
      compopt -o default 2>/dev/null || true # or a file
      ;;
  esac
  return 0
}

complete -o bashdefault -o default -F _sourcetype sourcetype
complete -o bashdefault -o default -F _sourcetype_inspect sourcetype-inspect
