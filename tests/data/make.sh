#!/usr/bin/env bash
# Makes the keys and containers of this folder with OpenSSL 3.0 and gost-engine 3 (Debian: openssl,
# libengine-gost-openssl). Keys and salts are random: another run makes other files of the same form.
# passwords.txt lists the password of every file.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# configure DIGEST: sets the digest that gost-engine uses in PBES2 and in the MAC.
configure() {
  cat >"$work/openssl.cnf" <<CONFIGURATION
openssl_conf = openssl_def
[openssl_def]
engines = engines
[engines]
gost = gost
[gost]
engine_id = gost
default_algorithms = ALL
CRYPT_PARAMS = id-Gost28147-89-CryptoPro-A-ParamSet
PBE_PARAMS = $1
[req]
distinguished_name = name
x509_extensions = extensions
utf8 = yes
string_mask = utf8only
[name]
[extensions]
CONFIGURATION
  export OPENSSL_CONF=$work/openssl.cnf
}

# make_key NAME ALGORITHM PARAMETER-SET: makes a plain key and its certificate.
make_key() {
  openssl genpkey -algorithm "$2" -pkeyopt "paramset:$3" -out "$1.key.pem"
  openssl req -x509 -new -key "$1.key.pem" -days 7300 -subj "/C=RU/O=Пример/CN=Ключ $1" -out "$1.cert.pem"
}

# encrypt_key NAME FILE PASSWORD
encrypt_key() {
  openssl pkcs8 -topk8 -in "$1.key.pem" -v2 gost89 -passout "pass:$3" -out "$2"
  echo "$2 $3" >>passwords.txt
}

# export_container KEY FILE PASSWORD MAC-DIGEST CIPHER [OPTION…]
export_container() {
  local key=$1 file=$2 password=$3 digest=$4 cipher=$5
  shift 5
  openssl pkcs12 -export -inkey "$key.key.pem" -in "$key.cert.pem" -name "Ключ $key" -out "$file" \
    -passout "pass:$password" -macalg "$digest" -keypbe "$cipher" -certpbe "$cipher" "$@"
  echo "$file $password" >>passwords.txt
}

rm -f ./*.pem ./*.p12
: >passwords.txt

configure md_gost94
make_key 2001 gost2001 A
make_key 2012-256 gost2012_256 A
make_key 2012-512 gost2012_512 A
for key in 2001 2012-256 2012-512; do
  encrypt_key "$key" "$key.encrypted.pem" "секрет-$key"
  export_container "$key" "$key.p12" "секрет-$key" md_gost94 gost89 -iter 2000
done
# Longer than the 1,024 octets after which the cipher changes its key.
cat 2012-256.cert.pem 2012-512.cert.pem >"$work/chain.pem"
export_container 2001 chain.p12 секрет md_gost94 gost89 -certfile "$work/chain.pem"
LEGACY_GOST_PKCS12=1 export_container 2001 mac-by-pkcs12-kdf.p12 секрет md_gost94 gost89
export_container 2001 empty-password.p12 "" md_gost94 gost89

# What the GOST library reads beside that: without a MAC, with the algorithms of several kinds, with those of 2012.
openssl pkcs12 -export -nomac -inkey 2001.key.pem -in 2001.cert.pem -out no-mac.p12 -passout pass:secret \
  -keypbe gost89 -certpbe gost89
echo "no-mac.p12 secret" >>passwords.txt
export_container 2001 mixed-aes.p12 secret md_gost94 aes-256-cbc
export_container 2001 mixed-sha256-mac.p12 secret sha256 gost89
configure md_gost12_256
encrypt_key 2012-256 streebog.encrypted.pem secret
export_container 2012-256 streebog.p12 secret md_gost12_256 gost89

# Broken files: one is cut short; in the other an octet of the content has changed, so that the MAC is wrong.
head -c 400 2001.p12 >broken-cut.p12
python3 - <<'PYTHON'
bytes = bytearray(open("2001.p12", "rb").read())
bytes[200] ^= 1
open("broken-mac.p12", "wb").write(bytes)
PYTHON
echo "broken-cut.p12 секрет-2001" >>passwords.txt
echo "broken-mac.p12 секрет-2001" >>passwords.txt
