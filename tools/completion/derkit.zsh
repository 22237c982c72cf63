#compdef derkit
# Completion of derkit's command line for zsh. Written by make_completion.py: change that.

_derkit() {
  local command=
  integer depth=1
  while ((depth + 1 < CURRENT)); do
    case "$command ${words[depth + 1]}" in
    " cert" | " spki" | " names" | " dn" | "dn compare" | " oid" | " alg" | " asn1" | " time" | " key" | "key convert" | " p12" | "p12 show" | "p12 extract" | "p12 make" | "p12 convert" | "p12 password")
      command="${command:+$command }${words[depth + 1]}" ;;
    *) break ;;
    esac
    ((++depth))
  done
  words=(derkit "${(@)words[depth + 1, -1]}")
  ((CURRENT -= depth - 1))

  case $command in
  "")
    _arguments \
      '*--help[Show this help]' \
      '*--version[Show the version]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '1:subcommand:((cert\:'\''Show certificates'\'' spki\:'\''Show public keys, including those in certificates'\'' names\:'\''Show every distinguished name in certificates, requests, CRLs and PKCS#7'\'' dn\:'\''Convert distinguished names to their canonical text or to DER'\'' oid\:'\''Show an object identifier as dotted text, DER and names'\'' alg\:'\''Show an algorithm'\''\'\'''\''s code, name, OID and encodings'\'' asn1\:'\''Show every element of BER and DER, with what is wrong with it'\'' time\:'\''Show a time in the layouts of logs and certificates'\'' key\:'\''Show GOST private keys (PKCS#8), plain or encrypted'\'' p12\:'\''Show, extract, make and convert PKCS#12 containers'\''))' ;;
  "cert")
    _arguments \
      '*--help[Show this help]' \
      '*--order=[Order of the RDNs]:order:(as-encoded reversed)' \
      '*--oid-map=[Names of OIDs, a line "OID = SHORT, long name" each, in place of the system'\''s qaroids.cfg]:oid-map:_files' \
      '*--t61=[What a T61String of a name holds]:t61:(t61 latin1)' \
      '*--json[One JSON object a line]' \
      '*--local[Show the validity in local time too]' \
      '*--round-trip[Convert every name, in both orders, back to DER and print it again]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*:file:_files' ;;
  "spki")
    _arguments \
      '*--help[Show this help]' \
      '*--oid-map=[Names of OIDs, a line "OID = SHORT, long name" each, in place of the system'\''s qaroids.cfg]:oid-map:_files' \
      '*--json[One JSON object a line]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*:file:_files' ;;
  "names")
    _arguments \
      '*--help[Show this help]' \
      '*--order=[Order of the RDNs]:order:(as-encoded reversed)' \
      '*--oid-map=[Names of OIDs, a line "OID = SHORT, long name" each, in place of the system'\''s qaroids.cfg]:oid-map:_files' \
      '*--t61=[What a T61String of a name holds]:t61:(t61 latin1)' \
      '*--json[One JSON object a line]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*:file:_files' ;;
  "dn")
    _arguments \
      '*--help[Show this help]' \
      '*--from=[What NAME is]:from:(text hex der openssl rfc4514 rfc2253 java cryptopro)' \
      '*--to=[Write the text that other programs expect]:to:(openssl rfc4514 rfc2253 java cryptopro)' \
      '*--loose[Take C = RU as C=RU]' \
      '*--reverse[Reverse the order of the RDNs first]' \
      '*--der[Write the DER Name]' \
      '*--hex[Show the DER Name in hexadecimal]' \
      '*--get=[Show all values of TYPE, which may be an OID or any name of it, as written]:get: ' \
      '*--unescaped[With --get]' \
      '*--oid-map=[Names of OIDs, a line "OID = SHORT, long name" each, in place of the system'\''s qaroids.cfg]:oid-map:_files' \
      '*--json[One JSON object a line, with the DER in hexadecimal]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '1:subcommand:((compare\:'\''Compare two names, by octets and by RFC 5280 7.1'\''))' ;;
  "dn compare")
    _arguments \
      '*--help[Show this help]' \
      '*--from=[What A and B are]:from:(text hex der openssl rfc4514 rfc2253 java cryptopro)' \
      '*--require=[Fail unless the names match, or have the same octets]:require:(match octets)' \
      '*--oid-map=[Names of OIDs, a line "OID = SHORT, long name" each, in place of the system'\''s qaroids.cfg]:oid-map:_files' \
      '*--json[One JSON object]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' ;;
  "oid")
    _arguments \
      '*--help[Show this help]' \
      '*--oid-map=[Names of OIDs, a line "OID = SHORT, long name" each, in place of the system'\''s qaroids.cfg]:oid-map:_files' \
      '*--json[One JSON object a line]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' ;;
  "alg")
    _arguments \
      '*--help[Show this help]' \
      '*--oid-map=[Names of OIDs, a line "OID = SHORT, long name" each, in place of the system'\''s qaroids.cfg]:oid-map:_files' \
      '*--json[One JSON object a line]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' ;;
  "asn1")
    _arguments \
      '*--help[Show this help]' \
      '*--max-octets=[Octets shown of each value at most (64 unless given)]:max-octets: ' \
      '*--oid-map=[Names of OIDs, a line "OID = SHORT, long name" each, in place of the system'\''s qaroids.cfg]:oid-map:_files' \
      '*--json[One JSON object a line]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*:file:_files' ;;
  "time")
    _arguments \
      '*--help[Show this help]' \
      '*--json[One JSON object a line]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' ;;
  "key")
    _arguments \
      '*--help[Show this help]' \
      '*--max-iterations=[Most iterations of key derivation in the whole run (10000000 unless given)]:max-iterations: ' \
      '*--oid-map=[Names of OIDs, a line "OID = SHORT, long name" each, in place of the system'\''s qaroids.cfg]:oid-map:_files' \
      '*--json[One JSON object a line]' \
      '*--reveal[Show the key itself too, in hexadecimal]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*--password-file=[The password is the first line of FILE]:password-file:_files' \
      '*--password-env=[The password is the value of VARIABLE in the environment]:password-env:_parameters -g '\''*export*'\''' \
      '*--password-stdin[The password is the first line of the standard input]' \
      '*--password-ask[Ask for the password at the terminal, without echo]' \
      '1: : _alternative '\''commands:command:((convert\:'\''\'\'''\''Write a key in another form or encryption'\''\'\'''\''))'\'' '\''files:file:_files'\''' \
      '*:file:_files' ;;
  "key convert")
    _arguments \
      '*--help[Show this help]' \
      '*--to=[pem or der]:to:(pem der gost94 tc26 rfc9548 rfc9548-omac aes)' \
      '*--cipher=[Of rfc9548 and rfc9548-omac]:cipher:(kuznyechik magma)' \
      '*--sections=[Of the same formats, how often the key changes]:sections:(standard tls)' \
      '*--iterations=[Of the key derivation]:iterations: ' \
      '*--der[DER, where PEM is the default]' \
      '*--pkcs8-form=[How PKCS#8 holds a key]:pkcs8-form:(octets string integer)' \
      '*--out=[The key, readable only by its owner]:out:_files' \
      '*--force[Overwrite a file that is there]' \
      '*--max-iterations=[Most iterations of key derivation in the whole run (10000000 unless given)]:max-iterations: ' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*--password-file=[The password is the first line of FILE]:password-file:_files' \
      '*--password-env=[The password is the value of VARIABLE in the environment]:password-env:_parameters -g '\''*export*'\''' \
      '*--password-stdin[The password is the first line of the standard input]' \
      '*--password-ask[Ask for the password at the terminal, without echo]' \
      '*--new-password-file=[The new password is the first line of FILE]:new-password-file:_files' \
      '*--new-password-env=[The new password is the value of VARIABLE in the environment]:new-password-env:_parameters -g '\''*export*'\''' \
      '*--new-password-stdin[The new password is the first line of the standard input, or the second one after the other password]' \
      '*--new-password-ask[Ask for the new password at the terminal, without echo]' \
      '*:file:_files' ;;
  "p12")
    _arguments \
      '*--help[Show this help]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '1:subcommand:((show\:'\''Show how a container is protected, or what it holds'\'' extract\:'\''Write the keys and certificates of a container as PEM files'\'' make\:'\''Make a container of private keys and their certificates'\'' convert\:'\''Make a container of another format from the bags of one'\'' password\:'\''Make a container with another password from one'\''))' ;;
  "p12 show")
    _arguments \
      '*--help[Show this help]' \
      '*--max-iterations=[Most iterations of key derivation in the whole run (10000000 unless given)]:max-iterations: ' \
      '*--max-bags=[Most bags that a container may hold (10000 unless given)]:max-bags: ' \
      '*--accept-unverified[Open the container although its MAC is missing, wrong or of an unsupported algorithm]' \
      '*--oid-map=[Names of OIDs, a line "OID = SHORT, long name" each, in place of the system'\''s qaroids.cfg]:oid-map:_files' \
      '*--t61=[What a T61String of a name holds]:t61:(t61 latin1)' \
      '*--json[One JSON object a line]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*--password-file=[The password is the first line of FILE]:password-file:_files' \
      '*--password-env=[The password is the value of VARIABLE in the environment]:password-env:_parameters -g '\''*export*'\''' \
      '*--password-stdin[The password is the first line of the standard input]' \
      '*--password-ask[Ask for the password at the terminal, without echo]' \
      '*--no-password[The container was made without any password, which is not the same as an empty one]' \
      '*:file:_files' ;;
  "p12 extract")
    _arguments \
      '*--help[Show this help]' \
      '*--out=[Where key-1.pem, certificate-1.pem and so on go]:out:_files -/' \
      '*--max-iterations=[Most iterations of key derivation in the whole run (10000000 unless given)]:max-iterations: ' \
      '*--max-bags=[Most bags that a container may hold (10000 unless given)]:max-bags: ' \
      '*--accept-unverified[Open the container although its MAC is missing, wrong or of an unsupported algorithm]' \
      '*--force[Overwrite files that are there]' \
      '*--partial[Extract what can be read although something cannot]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*--password-file=[The password is the first line of FILE]:password-file:_files' \
      '*--password-env=[The password is the value of VARIABLE in the environment]:password-env:_parameters -g '\''*export*'\''' \
      '*--password-stdin[The password is the first line of the standard input]' \
      '*--password-ask[Ask for the password at the terminal, without echo]' \
      '*--no-password[The container was made without any password, which is not the same as an empty one]' \
      '*:file:_files' ;;
  "p12 make")
    _arguments \
      '*--help[Show this help]' \
      '*--key=[A PKCS#8 key, PEM or DER, plain or encrypted under the same password]:key:_files' \
      '*--cert=[Certificates, all in a PEM file or one in DER]:cert:_files' \
      '*--name=[Friendly name of a key and its certificate]:name: ' \
      '*--to=[How the container is protected]:to:(gost94 tc26 rfc9548 rfc9548-omac aes native)' \
      '*--cipher=[Of rfc9548 and rfc9548-omac]:cipher:(kuznyechik magma)' \
      '*--sections=[Of the same formats, how often the key changes]:sections:(standard tls)' \
      '*--iterations=[Of the key derivation]:iterations: ' \
      '*--pkcs8-form=[How PKCS#8 holds a key]:pkcs8-form:(octets string integer)' \
      '*--out=[The container, readable only by its owner]:out:_files' \
      '*--force[Overwrite a file that is there]' \
      '*--max-iterations=[Most iterations of key derivation in the whole run (10000000 unless given)]:max-iterations: ' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*--password-file=[The password is the first line of FILE]:password-file:_files' \
      '*--password-env=[The password is the value of VARIABLE in the environment]:password-env:_parameters -g '\''*export*'\''' \
      '*--password-stdin[The password is the first line of the standard input]' \
      '*--password-ask[Ask for the password at the terminal, without echo]' ;;
  "p12 convert")
    _arguments \
      '*--help[Show this help]' \
      '*--to=[gost94, tc26, rfc9548, rfc9548-omac, aes or native]:to:(gost94 tc26 rfc9548 rfc9548-omac aes native)' \
      '*--cipher=[Of rfc9548 and rfc9548-omac]:cipher:(kuznyechik magma)' \
      '*--sections=[Of the same formats, how often the key changes]:sections:(standard tls)' \
      '*--iterations=[Of the key derivation]:iterations: ' \
      '*--pkcs8-form=[How PKCS#8 holds a key]:pkcs8-form:(octets string integer)' \
      '*--out=[The new container, readable only by its owner]:out:_files' \
      '*--force[Overwrite a file that is there]' \
      '*--max-iterations=[Most iterations of key derivation in the whole run (10000000 unless given)]:max-iterations: ' \
      '*--max-bags=[Most bags that a container may hold (10000 unless given)]:max-bags: ' \
      '*--accept-unverified[Open the container although its MAC is missing, wrong or of an unsupported algorithm]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*--password-file=[The password is the first line of FILE]:password-file:_files' \
      '*--password-env=[The password is the value of VARIABLE in the environment]:password-env:_parameters -g '\''*export*'\''' \
      '*--password-stdin[The password is the first line of the standard input]' \
      '*--password-ask[Ask for the password at the terminal, without echo]' \
      '*--no-password[The container was made without any password, which is not the same as an empty one]' \
      '*--new-password-file=[The new password is the first line of FILE]:new-password-file:_files' \
      '*--new-password-env=[The new password is the value of VARIABLE in the environment]:new-password-env:_parameters -g '\''*export*'\''' \
      '*--new-password-stdin[The new password is the first line of the standard input, or the second one after the other password]' \
      '*--new-password-ask[Ask for the new password at the terminal, without echo]' \
      '*:file:_files' ;;
  "p12 password")
    _arguments \
      '*--help[Show this help]' \
      '*--to=[As for convert]:to:(gost94 tc26 rfc9548 rfc9548-omac aes native)' \
      '*--cipher=[Of rfc9548 and rfc9548-omac]:cipher:(kuznyechik magma)' \
      '*--sections=[Of the same formats, how often the key changes]:sections:(standard tls)' \
      '*--iterations=[Of the key derivation]:iterations: ' \
      '*--pkcs8-form=[How PKCS#8 holds a key]:pkcs8-form:(octets string integer)' \
      '*--out=[The new container, readable only by its owner]:out:_files' \
      '*--force[Overwrite a file that is there]' \
      '*--max-iterations=[Most iterations of key derivation in the whole run (10000000 unless given)]:max-iterations: ' \
      '*--max-bags=[Most bags that a container may hold (10000 unless given)]:max-bags: ' \
      '*--accept-unverified[Open the container although its MAC is missing, wrong or of an unsupported algorithm]' \
      '*--color=[Colour headings and warnings]:color:(auto always never)' \
      '*--password-file=[The password is the first line of FILE]:password-file:_files' \
      '*--password-env=[The password is the value of VARIABLE in the environment]:password-env:_parameters -g '\''*export*'\''' \
      '*--password-stdin[The password is the first line of the standard input]' \
      '*--password-ask[Ask for the password at the terminal, without echo]' \
      '*--no-password[The container was made without any password, which is not the same as an empty one]' \
      '*--new-password-file=[The new password is the first line of FILE]:new-password-file:_files' \
      '*--new-password-env=[The new password is the value of VARIABLE in the environment]:new-password-env:_parameters -g '\''*export*'\''' \
      '*--new-password-stdin[The new password is the first line of the standard input, or the second one after the other password]' \
      '*--new-password-ask[Ask for the new password at the terminal, without echo]' \
      '*:file:_files' ;;
  esac
}

_derkit "$@"
