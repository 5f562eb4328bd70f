# An interactive zsh completes "opcua-cli snap" and the names of options.
zmodload zsh/zpty
zpty shell 'TERM=dumb zsh -f -i'
zpty -w shell "PS1='>'; unsetopt zle_bracketed_paste; autoload -Uz compinit; compinit -D; echo rea''dy"
zpty -r -m shell answer '*ready*'
zpty -w -n shell $'opcua-cli snap\t'
zpty -r -m shell answer '*snapshot*'
zpty -w -n shell $'plant:4840 --max-e\t'
zpty -r -m shell answer '*--max-elements*'
zpty -w -n shell $'1 --trust al\t'
zpty -r -m shell answer '*--trust always*'
