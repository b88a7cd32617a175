# Completion for pelorin-feedcheck in Bash. Source it, or install it as
# share/bash-completion/completions/pelorin-feedcheck.

_pelorin_feedcheck() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    # "=" is a word of its own.
    [[ $previous == = ]] && previous=${COMP_WORDS[COMP_CWORD - 2]}
    [[ $word == = ]] && previous=${COMP_WORDS[COMP_CWORD - 1]} word=
    case $previous in
    --locale) mapfile -t COMPREPLY < <(compgen -W "$(locale -a 2>/dev/null)" -- "$word") ;;
    --pictures) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
    --page-size) COMPREPLY=() ;;
    --explain)
        mapfile -t COMPREPLY < <(
            compgen -W "$(pelorin-feedcheck --list-findings 2>/dev/null |
                while read -r _ name; do echo "$name"; done)" -- "$word") ;;
    *)
        if [[ $word == -* ]]; then
            mapfile -t COMPREPLY < <(
                compgen -W "--explain --help --json --list-findings --locale --page-size --pictures --strict
                    --version --watch" -- "$word")
        else
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
        fi ;;
    esac
}
complete -o filenames -F _pelorin_feedcheck pelorin-feedcheck
