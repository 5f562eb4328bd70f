#!/usr/bin/env bash
# Makes what a company's certificate authority gives out: a root, an intermediate authority, a server's certificate by
# that one, and the revocation lists of both, valid from yesterday to tomorrow.
#
#   make_chain.sh FOLDER URI    leaves root.der, root.crl, middle.crl for the client; chain.pem (the server's, the
#                               intermediate, the root) and server.key for the server, whose application URI is URI
set -euo pipefail
cd "$1"
cat >config <<EOF
[ca]
certificate=\$ENV::issuer.pem
private_key=\$ENV::issuer.key
database=\$ENV::issuer.database
new_certs_dir=.
rand_serial=yes
policy=anything
default_md=sha256
[anything]
commonName=supplied
[authority]
basicConstraints=critical,CA:TRUE
keyUsage=critical,keyCertSign,cRLSign
subjectKeyIdentifier=hash
authorityKeyIdentifier=keyid
[server]
basicConstraints=critical,CA:FALSE
keyUsage=critical,digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment
extendedKeyUsage=serverAuth
subjectAltName=URI:$2,IP:127.0.0.1
subjectKeyIdentifier=hash
authorityKeyIdentifier=keyid
EOF
yesterday=$(date -u -d yesterday +%Y%m%d%H%M%SZ)
tomorrow=$(date -u -d tomorrow +%Y%m%d%H%M%SZ)

# authority ISSUER ARGUMENTS: openssl's small certificate authority, silent when all is well
authority() {
  export issuer=$1
  touch "$issuer.database"
  openssl ca -config config -name ca -batch "${@:2}" 2>openssl.log || { cat openssl.log >&2; return 1; }
}
# issue NAME ISSUER EXTENSIONS
issue() {
  openssl req -new -newkey rsa:2048 -nodes -keyout "$1.key" -subj "/CN=Interop $1" -out "$1.csr" 2>openssl.log
  local self=()
  [ "$1" != "$2" ] || self=(-selfsign)
  authority "$2" -notext "${self[@]}" -in "$1.csr" -extensions "$3" -startdate "$yesterday" -enddate "$tomorrow" \
    -out "$1.pem"
}
issue root root authority
issue middle root authority
issue server middle server
for name in root middle; do
  authority "$name" -gencrl -crl_lastupdate "$yesterday" -crl_nextupdate "$tomorrow" -out "$name.crl.pem"
  openssl crl -in "$name.crl.pem" -outform DER -out "$name.crl"
done
openssl x509 -in root.pem -outform DER -out root.der
cat server.pem middle.pem root.pem >chain.pem
