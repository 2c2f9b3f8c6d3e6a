# Completion of zevka(1) for bash. Needs nothing but bash itself.

_zevka() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local commands='show headers body extract check footer set-header remove-part'
  local batch='--output -o --dry-run -n --json --quiet -q --progress --jobs -j --all-files'
  batch+=' --no-transport-guard --dump --max-bytes --max-parts'
  COMPREPLY=()

  # "=" is a word of its own here.
  if [[ $word == = ]]; then
    word=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi

  # The value of an option.
  case $previous in
    --library | --file | --output | -o)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return ;;
    --dump)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return ;;
    --progress)
      mapfile -t COMPREPLY < <(compgen -W 'auto always never json' -- "$word")
      return ;;
    --name | --marker)
      mapfile -t COMPREPLY < <(compgen -W 'From To Cc Subject Date Message-ID X-Zevka-Footer X-Zevka-Removed' -- "$word")
      return ;;
    --part | -p | --text | --subject-suffix | --jobs | -j | --max-bytes | --max-parts)
      return ;;
  esac

  # The command, when there is one before this word.
  local command='' at
  for ((at = 1; at < COMP_CWORD; ++at)); do
    if [[ ${COMP_WORDS[at]} == --library ]]; then
      ((++at))
      [[ ${COMP_WORDS[at]} != = ]] || ((++at))
    elif [[ ${COMP_WORDS[at]} != -* ]]; then
      command=${COMP_WORDS[at]}
      break
    fi
  done

  local options
  case $command in
    '') options='--library --version' ;;
    show | check) options='--json' ;;
    headers) options='--decode --name' ;;
    body) options='--part --decoded --raw' ;;
    extract) options='--output -o --json' ;;
    footer) options="--text --file --subject-suffix --marker $batch" ;;
    set-header) options="--add $batch" ;;
    remove-part) options="--part -p --marker --no-mark $batch" ;;
    *) return ;;
  esac
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options --help -h" -- "$word")
  elif [[ -z $command ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$word")
  else
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}

complete -F _zevka zevka
