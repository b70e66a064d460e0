# Prints what zsh offers to complete a command line, one a line: the word, a tab, its description.
#
#   zsh -f offered.zsh DIRECTORY LINE
#
# DIRECTORY holds the completion functions.

work=$(mktemp -d)
trap 'rm -rf $work' EXIT
mkfifo $work/offered

# A zsh at a terminal of its own completes the line as soon as it would read one, and ends. There
# compadd tells the matches: it is the builtin at the end of all completion functions.
cat >$work/.zshrc <<'END'
stty cols 1000   # nothing is cut off
LISTMAX=100000  # never asks whether it shall list so many
fpath=($KA_FUNCTIONS $fpath)
autoload -Uz compinit && compinit -u -D
compadd() {
  # With these options it fills arrays for its caller, and offers nothing.
  if ((${argv[(I)-[OAD]]})); then
    builtin compadd "$@"
    return
  fi
  local -a words descriptions
  local at=${argv[(I)-d]} i
  builtin compadd -O words "$@"
  if ((at)); then
    descriptions=(${(P)argv[at + 1]})
    builtin compadd -D descriptions "$@"
  fi
  for ((i = 1; i <= $#words; i++)); do print -r -u3 -- "$words[i]"$'\t'"$descriptions[i]"; done
  builtin compadd "$@"
}
zle-line-init() {
  BUFFER=$KA_LINE
  CURSOR=$#BUFFER
  zle list-choices
  exit
}
zle -N zle-line-init
exec 3>$ZDOTDIR/offered
END

zmodload zsh/zpty
export ZDOTDIR=$work KA_FUNCTIONS=$1 KA_LINE=$2 TERM=dumb
zpty shell zsh -d -i
cat $work/offered
zpty -d shell
