# Completion of derkit's command line for bash. Written by make_completion.py: change that.

_derkit() {
  local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} prefix= command= i

  # --order=reversed is three words, or one if COMP_WORDBREAKS has no "=".
  if [[ $word == "=" ]]; then
    word=
  elif [[ $option == "=" ]]; then
    option=${COMP_WORDS[COMP_CWORD - 2]}
  elif [[ $word == --*=* ]]; then
    option=${word%%=*} prefix=${word%%=*}= word=${word#*=}
  fi

  for ((i = 1; i < COMP_CWORD; ++i)); do
    case "$command ${COMP_WORDS[i]}" in
    " cert" | " spki" | " names" | " dn" | "dn compare" | " oid" | " alg" | " asn1" | " time" | " key" | "key convert" | " p12" | "p12 show" | "p12 extract" | "p12 make" | "p12 convert" | "p12 password")
      command="${command:+$command }${COMP_WORDS[i]}" ;;
    esac
  done

  local options= values= kind=
  case $command in
  "") options="--help --version --color" values="cert spki names dn oid alg asn1 time key p12" ;;
  "cert") options="--help --order --oid-map --t61 --json --local --round-trip --color" values="" kind=files ;;
  "spki") options="--help --oid-map --json --color" values="" kind=files ;;
  "names") options="--help --order --oid-map --t61 --json --color" values="" kind=files ;;
  "dn") options="--help --from --to --loose --reverse --der --hex --get --unescaped --oid-map --json --color" values="compare" ;;
  "dn compare") options="--help --from --require --oid-map --json --color" values="" ;;
  "oid") options="--help --oid-map --json --color" values="" ;;
  "alg") options="--help --oid-map --json --color" values="" ;;
  "asn1") options="--help --max-octets --oid-map --json --color" values="" kind=files ;;
  "time") options="--help --json --color" values="" ;;
  "key") options="--help --max-iterations --oid-map --json --reveal --color --password-file --password-env --password-stdin --password-ask" values="convert" kind=files ;;
  "key convert") options="--help --to --cipher --sections --iterations --der --pkcs8-form --out --force --max-iterations --color --password-file --password-env --password-stdin --password-ask --new-password-file --new-password-env --new-password-stdin --new-password-ask" values="" kind=files ;;
  "p12") options="--help --color" values="show extract make convert password" ;;
  "p12 show") options="--help --max-iterations --max-bags --accept-unverified --oid-map --t61 --json --color --password-file --password-env --password-stdin --password-ask --no-password" values="" kind=files ;;
  "p12 extract") options="--help --out --max-iterations --max-bags --accept-unverified --force --partial --color --password-file --password-env --password-stdin --password-ask --no-password" values="" kind=files ;;
  "p12 make") options="--help --key --cert --name --to --cipher --sections --iterations --pkcs8-form --out --force --max-iterations --color --password-file --password-env --password-stdin --password-ask" values="" ;;
  "p12 convert") options="--help --to --cipher --sections --iterations --pkcs8-form --out --force --max-iterations --max-bags --accept-unverified --color --password-file --password-env --password-stdin --password-ask --no-password --new-password-file --new-password-env --new-password-stdin --new-password-ask" values="" kind=files ;;
  "p12 password") options="--help --to --cipher --sections --iterations --pkcs8-form --out --force --max-iterations --max-bags --accept-unverified --color --password-file --password-env --password-stdin --password-ask --no-password --new-password-file --new-password-env --new-password-stdin --new-password-ask" values="" kind=files ;;
  esac
  case "$command $option" in
  *" --color")
    values="auto always never" kind= ;;
  *" --order")
    values="as-encoded reversed" kind= ;;
  *" --oid-map" | *" --password-file" | "key convert --out" | *" --new-password-file" | *" --key" | *" --cert" | "p12 make --out" | "p12 convert --out" | "p12 password --out")
    values="" kind=files ;;
  *" --t61")
    values="t61 latin1" kind= ;;
  *" --from")
    values="text hex der openssl rfc4514 rfc2253 java cryptopro" kind= ;;
  "dn --to")
    values="openssl rfc4514 rfc2253 java cryptopro" kind= ;;
  *" --get" | *" --max-octets" | *" --max-iterations" | *" --iterations" | *" --max-bags" | *" --name")
    values="" kind= ;;
  *" --require")
    values="match octets" kind= ;;
  *" --password-env" | *" --new-password-env")
    values="" kind=variables ;;
  "key convert --to")
    values="pem der gost94 tc26 rfc9548 rfc9548-omac aes" kind= ;;
  *" --cipher")
    values="kuznyechik magma" kind= ;;
  *" --sections")
    values="standard tls" kind= ;;
  *" --pkcs8-form")
    values="octets string integer" kind= ;;
  "p12 extract --out")
    values="" kind=directories ;;
  "p12 make --to" | "p12 convert --to" | "p12 password --to")
    values="gost94 tc26 rfc9548 rfc9548-omac aes native" kind= ;;
  esac

  COMPREPLY=()
  if [[ -z $prefix && $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    return
  fi
  case $kind in
  files) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
  directories) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
  variables) mapfile -t COMPREPLY < <(compgen -e -- "$word") ;;
  esac
  if [[ $kind == files || $kind == directories ]]; then
    compopt -o filenames 2>/dev/null || true # fails when nothing is being completed
  fi
  local -a named
  mapfile -t named < <(compgen -W "$values" -- "$word")
  COMPREPLY+=("${named[@]}")
  COMPREPLY=("${COMPREPLY[@]/#/$prefix}")
}

complete -F _derkit derkit
