# Completion of derkit's command line for bash.

_derkit() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local subcommands="cert spki dn oid alg time key p12"
  local password="--password-file --password-env --password-stdin --password-ask"
  local new_password="--new-password-file --new-password-env --new-password-stdin --new-password-ask"
  local writing="--to --cipher --sections --iterations --pkcs8-form --out --force"
  local reading="--max-iterations --max-bags --accept-unverified"

  # The subcommand, and how many words of the line name it.
  local subcommand=${COMP_WORDS[1]} depth=1
  if [[ $subcommand == p12 ]]; then
    subcommands="show extract make convert password"
    subcommand="p12 ${COMP_WORDS[2]-}"
    depth=2
  elif [[ $subcommand == key && ${COMP_WORDS[2]-} == convert && $COMP_CWORD -gt 2 ]]; then
    subcommand="key convert"
    depth=2
  fi

  local options="--help --color" values= files=false
  COMPREPLY=()
  if ((COMP_CWORD <= depth)); then
    ((depth == 1)) && options+=" --version"
    values=$subcommands
  else
    case $subcommand in
    cert) options+=" --order --oid-map --t61 --json --local --round-trip" files=true ;;
    spki) options+=" --oid-map --json" files=true ;;
    dn) options+=" --reverse --der --hex --get --oid-map --json" ;;
    oid) options+=" --oid-map --json" ;;
    alg) options+=" --oid-map --json" ;;
    time) options+=" --json" ;;
    key) options+=" $password --max-iterations --oid-map --json --reveal" files=true ;;
    "key convert") options+=" $writing --der $password $new_password --max-iterations" files=true ;;
    "p12 show") options+=" $password --no-password $reading --oid-map --t61 --json" files=true ;;
    "p12 extract") options+=" --out $password --no-password $reading --force --partial" files=true ;;
    "p12 make") options+=" --key --cert --name $writing $password --max-iterations" ;;
    "p12 convert" | "p12 password") options+=" $writing $password --no-password $new_password $reading" files=true ;;
    esac
    case $previous in
    --color) values="auto always never" files=false ;;
    --order) values="as-encoded reversed" files=false ;;
    --t61) values="t61 latin1" files=false ;;
    --to)
      values="gost94 tc26 rfc9548 rfc9548-omac aes" files=false
      [[ $subcommand == key* ]] && values="pem der $values" || values+=" native"
      ;;
    --cipher) values="kuznyechik magma" files=false ;;
    --sections) values="standard tls" files=false ;;
    --pkcs8-form) values="octets string integer" files=false ;;
    --password-env | --new-password-env) mapfile -t COMPREPLY < <(compgen -e -- "$word") && return ;;
    --oid-map | --password-file | --new-password-file | --key | --cert | --out) files=true ;;
    --get | --name | --iterations | --max-iterations | --max-bags) return ;;
    esac
  fi

  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
  elif $files; then
    compopt -o filenames 2>/dev/null || true # fails when nothing is being completed
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -W "$values" -- "$word")
  fi
}

complete -F _derkit derkit
