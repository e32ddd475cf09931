# Completion of tunesift's command line in bash.

_tunesift()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words="analyze check plot export merge devices share doctor --help --version"
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
        return
    fi
    case $previous in
        --min-bpm | --wait | --name | -j | --jobs | --timeout | --memory | --shard | --from | --to | --width | --height | --for | -discoPort)
            return ;;
        -o | --output | --files-from | --waveform | --worker)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return ;;
    esac
    case ${COMP_WORDS[1]} in
        analyze) words="--help --json --csv --min-bpm --no-key --wait --worker --files-from --null --jobs --timeout --memory
            --output --resume --retry-failed --shard" ;;
        check) words="--help --json --files-from --null --jobs --timeout --memory" ;;
        plot) words="--help --output --from --to --width --height --worker" ;;
        export) words="--help --waveform --worker" ;;
        merge) words="--help --output --files-from --null" ;;
        devices) words="--help --json --watch --for -discoPort" ;;
        share) words="--help --json --name --writable -discoPort" ;;
        doctor) words="--help --worker" ;;
        *) return ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    elif [[ ${COMP_WORDS[1]} != devices && ${COMP_WORDS[1]} != doctor ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}

complete -o filenames -F _tunesift tunesift
