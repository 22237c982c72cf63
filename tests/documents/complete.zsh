# Completes command lines in an interactive zsh on a terminal of its own, and prints what is offered: a word a line, and
# "(end)" after each command line.
#
# Usage: zsh -f complete.zsh FOLDER-WITH-_derkit LINE...
zmodload zsh/zpty
found=$(mktemp)
zpty shell TERM=dumb zsh -f -i
zpty -w shell "PS1= PS2= fpath=(${(q)1} \$fpath) found=${(q)found}"
zpty -w shell 'autoload -Uz compinit && compinit -D -u; zstyle ":completion:*" completer _complete'
# Words that are offered, each with what precedes it in its own word.
zpty -w shell 'compadd() {
  if [[ ${@[1,(i)(-|--)]} == *-(O|A|D)\ * ]]; then
    builtin compadd "$@"
    return
  fi
  local -a offered
  builtin compadd -A offered "$@"
  local ret=$?
  builtin compadd "$@"
  (($#offered)) && print -rl -- "${(@)offered/#/$IPREFIX}" >>$found
  return ret
}'
zpty -w shell 'finish() { print -r -- "(end)" >>$found }; zle -N finish'
zpty -w shell "bindkey '^I' complete-word; bindkey '^U' kill-whole-line; bindkey '^O' finish"
integer number=0
for line in "${@[2,-1]}"; do
  ((++number))
  zpty -n -w shell $'\C-u'"$line"$'\t\C-o'
  for ((i = 0; i < 3000; ++i)); do
    zpty -r -t shell >/dev/null # a full terminal would stop the shell
    (($(grep -cx "(end)" $found) >= number)) && break
    sleep 0.02
  done
done
zpty -d shell
cat $found
rm $found
