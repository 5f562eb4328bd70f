#!/usr/bin/env bash
# Makes the certificates and revocation lists that the tests put into their stores: good ones, and one for every way
# in which a certificate can be bad. All dates are fixed; the tests verify as of 2026-06-01.
#
#   make_stores.sh FOLDER [URI]      fills FOLDER (made if missing, emptied if not) with NAME.der, NAME.pem, NAME.crl;
#                                    the right application URI is URI (default: urn:plant:server)
set -euo pipefail
folder=$1
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"
openssl version >/dev/null

uri=${2:-urn:plant:server}
complete_usage=critical,digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment

# ---- keys: each is shared by every certificate that needs no key of its own
for key in server authority intermediate stranger; do
  openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out "$key.key" &
done
openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:1024 -out short.key &
openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:4096 -out long.key &
openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:4104 -out too_long.key &
wait
for key in server authority intermediate stranger short long too_long; do
  openssl req -new -batch -key "$key.key" -subj /CN=replaced -out "$key.csr"
done

# ---- configuration: a section of extensions for every kind of certificate
application() { # section, subject alternative name, further lines
  printf '[%s]\nbasicConstraints=critical,CA:FALSE\nkeyUsage=%s,keyCertSign\nextendedKeyUsage=serverAuth\n' \
    "$1" "$complete_usage"
  printf 'subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\nsubjectAltName=%s\n%s\n' "$2" "${3:-}"
}
issuing() { # section, basic constraints, key usage
  printf '[%s]\nbasicConstraints=%s\nkeyUsage=%s\nsubjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n' "$@"
}
{
  cat <<EOF
[anything]
commonName=supplied
[ca]
database=\$ENV::database
new_certs_dir=.
rand_serial=yes
policy=anything
unique_subject=no
default_md=sha256
EOF
  application app "URI:$uri,DNS:plant"
  application other_uri "URI:urn:plant:other"
  application longer_uri "URI:$uri:2"
  application no_uri "DNS:plant"
  application two_uris "URI:$uri,URI:urn:plant:other"
  application two_uris_other_first "URI:urn:plant:other,URI:$uri"
  application other_host "URI:$uri,DNS:elsewhere.example"
  application unknown_critical "URI:$uri" "1.2.3.4.5=critical,DER:0500"
  application client_only "URI:$uri" "extendedKeyUsage=clientAuth"
  printf '[no_usage]\nsubjectAltName=URI:%s\n' "$uri"
  printf '[partial_usage]\nkeyUsage=digitalSignature\nsubjectAltName=URI:%s\n' "$uri"
  printf '[ca_app]\nbasicConstraints=critical,CA:TRUE\nkeyUsage=%s,keyCertSign\nsubjectAltName=URI:%s\n' \
    "$complete_usage" "$uri"
  issuing authority critical,CA:TRUE critical,keyCertSign,cRLSign
  issuing last_authority critical,CA:TRUE,pathlen:0 critical,keyCertSign,cRLSign
  issuing no_ca_bit critical,CA:FALSE critical,keyCertSign,cRLSign
  issuing no_sign_usage critical,CA:TRUE critical,cRLSign
} >config

# ---- certificates
# authority ISSUER ARGUMENTS: openssl's small certificate authority, with the records of that issuer
authority() {
  export database=$1.database
  touch "$database"
  openssl ca -config config -name ca "${@:2}" 2>>openssl.log || { tail openssl.log >&2; return 1; }
}
# issue NAME ISSUER KEY EXTENSIONS [START [END [DIGEST]]]; ISSUER is "self" or the name of a certificate made before
issue() {
  local name=$1 issuer=$2 key=$3 extensions=$4
  local start=${5:-20200101000000Z} end=${6:-20490101000000Z} digest=${7:-sha256}
  local signer=(-cert "$issuer.pem" -keyfile "$issuer.key")
  [ "$issuer" != self ] || { signer=(-selfsign -keyfile "$key.key"); issuer=$name; }
  [ -e "$name.key" ] || ln -s "$key.key" "$name.key"
  authority "$issuer" -batch -notext "${signer[@]}" -in "$key.csr" -subj "/CN=${cn:-$name}" \
    -extensions "$extensions" -startdate "$start" -enddate "$end" -md "$digest" -out "$name.pem"
  openssl x509 -in "$name.pem" -outform DER -out "$name.der"
}
past_end=20250101000000Z
future_start=20480101000000Z

issue self_good self server app
issue self_expired self server app "" "$past_end"
issue self_future self server app "$future_start"
for extensions in other_uri longer_uri no_uri two_uris two_uris_other_first other_host unknown_critical client_only \
  no_usage partial_usage ca_app; do
  issue "self_$extensions" self server "$extensions"
done
issue self_sha1 self server app "" "" sha1
issue self_md5 self server app "" "" md5
issue self_short self short app
issue self_long self long app
issue self_too_long self too_long app

issue root self authority authority
issue root_expired self authority authority "" "$past_end"
issue root_future self authority authority "$future_start"
issue root_short self short authority
issue root_too_long self too_long authority
issue root_sha1 self authority authority "" "" sha1
cn=root issue impostor self stranger authority # the name of the root, another key
issue middle root intermediate authority
issue middle_expired root intermediate authority "" "$past_end"
issue middle_revoked root intermediate authority
issue middle_last root intermediate last_authority
issue middle_below_last middle_last stranger authority
issue middle_no_ca_bit root intermediate no_ca_bit
issue middle_no_sign_usage root intermediate no_sign_usage

for issuer in root root_expired root_future root_short root_too_long root_sha1 impostor middle middle_expired \
  middle_revoked middle_below_last middle_no_ca_bit middle_no_sign_usage; do
  issue "by_$issuer" "$issuer" server app
done
issue by_root_revoked root server app
issue by_root_expired_leaf root server app "" "$past_end"
issue by_root_sha1_leaf root server app "" "" sha1

# ---- revocation lists
# revocation_list NAME ISSUER [LAST_UPDATE [NEXT_UPDATE]]
revocation_list() {
  authority "$2" -gencrl -cert "$2.pem" -keyfile "$2.key" -crl_lastupdate "${3:-20260101000000Z}" \
    -crl_nextupdate "${4:-20490101000000Z}" -out "$1.crl.pem"
  openssl crl -in "$1.crl.pem" -outform DER -out "$1.crl"
}
for issuer in root root_expired root_future root_short root_too_long root_sha1 impostor middle middle_expired \
  middle_revoked middle_last middle_below_last middle_no_ca_bit middle_no_sign_usage; do
  revocation_list "$issuer" "$issuer"
done
revocation_list root_stale root 20250101000000Z 20250201000000Z
for certificate in by_root_revoked middle_revoked; do
  authority root -cert root.pem -keyfile root.key -revoke "$certificate.pem"
done
revocation_list root_revoking root

# ---- not certificates, and spoilt ones
last_byte_changed() {
  local size last
  size=$(stat -c %s "$1")
  last=$(tail -c 1 "$1" | od -An -tu1)
  head -c $((size - 1)) "$1" >"$2"
  printf "\\x$(printf %x $((last ^ 1)))" >>"$2"
}
last_byte_changed by_root.der by_root_forged.der
last_byte_changed self_good.der self_forged.der
last_byte_changed root.crl root_forged.crl
head -c 500 self_good.der >truncated.der
head -c 1048576 /dev/zero >megabyte.der
: >empty.der
printf 'not a certificate\n' >garbage.der
cat self_good.der garbage.der >trailing.der
