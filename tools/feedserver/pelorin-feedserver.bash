# Completion for pelorin-feedserver in Bash. Source it, or install it as
# share/bash-completion/completions/pelorin-feedserver.

_pelorin_feedserver() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    # "=" is a word of its own.
    [[ $previous == = ]] && previous=${COMP_WORDS[COMP_CWORD - 2]}
    [[ $word == = ]] && previous=${COMP_WORDS[COMP_CWORD - 1]} word=
    case $previous in
    --feeds | --tls) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
    --address-file) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    --port) COMPREPLY=() ;;
    --reply)
        compopt -o nospace
        mapfile -t COMPREPLY < <(
            compgen -W "status= body= empty size= endless invalid-utf8 gzip framing= length=
                chunk-error= delay= stall= cut= cut-head reset drip= redirect= redirects= loop
                keep-alive" -- "$word") ;;
    *)
        mapfile -t COMPREPLY < <(
            compgen -W "--address-file --feeds --help --port --reply --tls --version" -- "$word") ;;
    esac
}
complete -o filenames -F _pelorin_feedserver pelorin-feedserver
