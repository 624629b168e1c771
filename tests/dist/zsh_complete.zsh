# usage: zsh -f zsh_complete.zsh FOLDER LINE...
#
# Types each LINE and a Tab into one interactive zsh on a pseudo-terminal, with FOLDER
# (holding _tidewarden) first on $fpath, and prints "@@ LINE" followed by the candidates
# the completion system offered for it, one per line.
zmodload zsh/zpty || exit 2
folder=$1
shift
candidates=$folder/candidates
zpty shell zsh -f -i || exit 3  # no pseudo-terminal to be had
zpty -w shell "PROMPT= ; bindkey -e; fpath=(${(q)folder} \$fpath); autoload -Uz compinit; compinit -u -D"
# Every completion ends in compadd; this one also writes down what it adds.
zpty -w shell 'compadd() {
  if [[ ${@[1,(i)(-|--)]} == *-(O|A|D)\ * ]]; then builtin compadd "$@"; return; fi
  local -a hits; builtin compadd -A hits "$@"
  (( $#hits )) && print -rl -- $hits >> '${(q)candidates}'
  builtin compadd "$@"
}'
zpty -w shell "print -r -- RE''ADY"
zpty -r -m shell ignored '*READY*' || exit 2
for line in "$@"; do
  rm -f $candidates
  zpty -w -n shell "$line"$'\t'
  repeat 30; do [[ -s $candidates ]] && break; sleep 0.05; done
  sleep 0.2
  print -r -- "@@ $line"
  [[ -f $candidates ]] && sort -u $candidates
  zpty -w -n shell $'\C-u'
done
zpty -d shell
