# bash completion for opcua-cli. Commands and options are what the program's own help says.

# What stands in the first column of a part of the help: commands, or options with the word for their value.
_opcua_cli_names() {
    awk -v part="$1" '
        /^[^ ]/ { inside = part == "Subcommands" ? /^Subcommands:/ : /:$/ && !/^(Positionals|Examples):/ }
        inside && /^  ?[-a-z]/ { sub(/^ */, ""); sub(/  .*/, ""); print }'
}

# The words that a value may be, as far as they are known.
_opcua_cli_values() {
    case $1 in
    --policy) echo None Basic256Sha256 Aes128_Sha256_RsaOaep Aes256_Sha256_RsaPss Basic256 Basic128Rsa15 ;;
    --mode) echo None Sign SignAndEncrypt ;;
    --trust) echo once always never ;;
    --trace) echo none errors warnings lifecycle information debugging details everything ;;
    --type) echo Boolean SByte Byte Int16 UInt16 Int32 UInt32 Int64 UInt64 Float Double String ;;
    esac
}

# The names of the profiles, but for those that mean something to the shell: compgen expands what it is given.
_opcua_cli_profiles() {
    sed -nE 's/^[[:space:]]*\[[[:space:]]*([[:alnum:]_.-]+)[[:space:]]*\][[:space:]]*$/\1/p' \
        "${XDG_CONFIG_HOME:-$HOME/.config}/opcua-cli/profiles.ini" 2>/dev/null
}

_opcua_cli() {
    local program=$1 word=$2 previous=$3 command= help options i
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        if [[ ${COMP_WORDS[i]} != -* && ! ($i -eq 1 && ${COMP_WORDS[i]} == help) ]]; then
            command=${COMP_WORDS[i]}
            break
        fi
    done
    help=$("$program" $command --help 2>/dev/null) || return
    if [[ -z $command && $word != -* ]]; then
        COMPREPLY=($(compgen -W "$(_opcua_cli_names Subcommands <<<"$help")" -- "$word"))
        return
    fi
    # Mostly a word ends for bash at an @, but that is for its user to say.
    if [[ $word == @* ]]; then
        COMPREPLY=($(compgen -P @ -W "$(_opcua_cli_profiles)" -- "${word#@}"))
        return
    elif [[ $previous == @ || ${COMP_WORDS[COMP_CWORD]} == @ ]]; then
        COMPREPLY=($(compgen -W "$(_opcua_cli_profiles)" -- "$word"))
        return
    fi
    options=$(_opcua_cli_names Options <<<"$help")
    if [[ $previous == -* ]]; then
        COMPREPLY=($(compgen -W "$(_opcua_cli_values "$previous")" -- "$word"))
        [[ ${#COMPREPLY[@]} -eq 0 ]] || return
        if grep -q -e "^\(-[a-z],\)\?$previous [A-Z]" <<<"$options"; then
            ! grep -q -e "^\(-[a-z],\)\?$previous FILE" <<<"$options" || compopt -o default
            return
        fi
    fi
    if [[ $word == -* ]]; then
        COMPREPLY=($(compgen -W "$(sed 's/ .*//; s/,/ /g' <<<"$options")" -- "$word"))
    elif grep -q '^Usage:.* \(FILE\|OLD\)' <<<"$help"; then
        compopt -o default
    fi
}

complete -F _opcua_cli opcua-cli
