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
openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:768 -out tiny.key &
openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:1024 -out short.key &
openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:4096 -out long.key &
openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:4104 -out too_long.key &
openssl genpkey -quiet -algorithm ED25519 -out edwards.key &
openssl genpkey -quiet -algorithm EC -pkeyopt ec_paramgen_curve:prime192v1 -out weak_curve.key &
wait
for key in server authority intermediate stranger tiny short long too_long edwards weak_curve; do
  openssl req -new -batch -key "$key.key" -subj /CN=replaced -out "$key.csr"
done

# ---- DER by hand, for what openssl would not write
named() { # tag, text of up to 127 bytes
  printf '%s%02x%s' "$1" "$(printf %s "$2" | wc -c)" "$(printf %s "$2" | od -An -v -tx1 | tr -d ' \n')"
}
sequence() { # hexadecimal digits of what is in it, up to 127 bytes
  local content
  content=$(printf %s "$@")
  printf '30%02x%s' $((${#content} / 2)) "$content"
}

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
  application malformed_usage "URI:$uri" "keyUsage=DER:0500"
  application client_only "URI:$uri" "extendedKeyUsage=clientAuth"
  application any_extended_usage "URI:$uri" "extendedKeyUsage=anyExtendedKeyUsage"
  printf '[no_usage]\nsubjectAltName=URI:%s\n' "$uri"
  printf '[proxy]\nkeyUsage=%s\nproxyCertInfo=critical,language:id-ppl-anyLanguage\n' "$complete_usage"
  printf '[partial_usage]\nkeyUsage=digitalSignature\nsubjectAltName=URI:%s\n' "$uri"
  printf '[repudiable]\nkeyUsage=digitalSignature,keyEncipherment,dataEncipherment\nsubjectAltName=URI:%s\n' "$uri"
  printf '[ca_app]\nbasicConstraints=critical,CA:TRUE\nkeyUsage=%s,keyCertSign\nsubjectAltName=URI:%s\n' \
    "$complete_usage" "$uri"
  issuing authority critical,CA:TRUE critical,keyCertSign,cRLSign
  issuing last_authority critical,CA:TRUE,pathlen:0 critical,keyCertSign,cRLSign
  issuing no_ca_bit critical,CA:FALSE critical,keyCertSign,cRLSign
  issuing no_sign_usage critical,CA:TRUE critical,cRLSign
  issuing no_list_usage critical,CA:TRUE critical,keyCertSign
  issuing bounded critical,CA:TRUE critical,keyCertSign,cRLSign
  printf 'nameConstraints=critical,permitted;DNS:plant\n'
  issuing elsewhere_authority critical,CA:TRUE critical,keyCertSign,cRLSign
  printf 'subjectAltName=DNS:elsewhere.example\n'
  printf '[no_usage_authority]\nbasicConstraints=critical,CA:TRUE\nsubjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n'
  without_ids='subjectKeyIdentifier=none\nauthorityKeyIdentifier=none\n'
  printf "[authority_without_ids]\nbasicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\n$without_ids"
  application app_without_ids "URI:$uri" | sed '/KeyIdentifier/d'
  printf "$without_ids"
  application at_point "URI:$uri" 'crlDistributionPoints=URI:http://plant/1'
  application at_relative_point "URI:$uri" 'crlDistributionPoints=relative_to_issuer'
  application at_partial_point "URI:$uri" 'crlDistributionPoints=with_reasons'
  application at_others_point "URI:$uri" 'crlDistributionPoints=with_issuer'
  application address_blocks "URI:$uri" 'sbgp-ipAddrBlock=critical,IPv4:10.0.0.0/8'
  application harmless_address_blocks "URI:$uri" 'sbgp-ipAddrBlock=IPv4:10.0.0.0/8'
  application system_numbers "URI:$uri" 'sbgp-autonomousSysNum=critical,AS:64512'
  application demanding_policies "URI:$uri" 'policyConstraints=critical,requireExplicitPolicy:0'
  application objects_alone "URI:$uri" 'nsCertType=critical,objsign'
  application also_for_servers "URI:$uri" 'nsCertType=server'
  issuing mail_authority critical,CA:TRUE critical,keyCertSign,cRLSign
  printf 'extendedKeyUsage=critical,emailProtection\n'
  issuing server_authority critical,CA:TRUE critical,keyCertSign,cRLSign
  printf 'extendedKeyUsage=serverAuth,clientAuth\n'
  printf '[with_issuer]\nfullname=URI:http://plant/1\nCRLissuer=dirName:lister\n[lister]\nCN=lister\n'
  printf '[relative_to_issuer]\nrelativename=relative\n[relative]\nOU=lists\n'
  printf '[with_reasons]\nfullname=URI:http://plant/1\nreasons=keyCompromise\n'
  application address_of_three_bytes "DER:$(sequence "$(named 86 "$uri")" 87030a0000)"
  application uri_in_utf8 "DER:$(sequence "$(named 86 "$uri:ä")")"
  application uri_in_latin1 "DER:$(sequence "$(named 86 "$uri:$(printf '\344')")")"
  application of_60_kilobytes "URI:$uri" "1.2.3.4.6=DER:0482ea60$(head -c 60000 /dev/zero | od -An -v -tx1 | tr -d ' \n')"
  application of_300_kilobytes "URI:$uri" "1.2.3.4.6=DER:04830493e0$(head -c 300000 /dev/zero | od -An -v -tx1 | tr -d ' \n')"
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
for extensions in other_uri longer_uri no_uri two_uris two_uris_other_first other_host unknown_critical malformed_usage \
  client_only no_usage partial_usage ca_app; do
  issue "self_$extensions" self server "$extensions"
done
issue self_sha1 self server app "" "" sha1
issue self_md5 self server app "" "" md5
issue self_tiny self tiny app
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
issue middle_for_mail root intermediate mail_authority
issue middle_for_servers root intermediate server_authority
issue root_for_mail self authority mail_authority

for extensions in address_blocks harmless_address_blocks system_numbers demanding_policies objects_alone also_for_servers any_extended_usage proxy repudiable address_of_three_bytes uri_in_utf8 uri_in_latin1 of_60_kilobytes of_300_kilobytes; do
  issue "self_$extensions" self server "$extensions"
done
issue middle_no_list_usage root intermediate no_list_usage
issue middle_bounded root intermediate bounded
issue middle_no_usage root intermediate no_usage_authority
cn=root issue root_old self authority authority "" "$past_end" # the root's name and key, before it was renewed
issue other_root self stranger authority
cn=root issue root_cross other_root authority authority # the root's name and key, certified by another root
cn=root issue root_new_key root stranger authority      # the root's name and another key, certified by the root
for namesake in first second; do                        # two of one name, and nothing but their keys tells them apart
  key=authority
  [ "$namesake" = first ] || key=stranger
  cn=namesake issue "$namesake" self "$key" authority_without_ids
  issue "by_$namesake" "$namesake" server app_without_ids
done

# What an attacker has had trusted: the root's name and key identifier. One is read before the root, one after it.
root_id=$(openssl x509 -in root.pem -noout -ext subjectKeyIdentifier | tail -n 1 | tr -d ' ')
{
  issuing poison critical,CA:TRUE critical,keyCertSign,cRLSign | sed "s/^subjectKeyIdentifier=.*/subjectKeyIdentifier=$root_id/"
  application poison_app "URI:$uri" | sed "s/^subjectKeyIdentifier=.*/subjectKeyIdentifier=$root_id/"
} >>config
for poison in a_poison z_poison; do
  cn=root issue "$poison" self stranger poison
  cn=root issue "${poison}_app" self stranger poison_app
done

for issuer in root root_expired root_future root_short root_too_long root_sha1 impostor middle middle_expired \
  middle_revoked middle_below_last middle_no_ca_bit middle_no_sign_usage middle_no_list_usage middle_bounded middle_for_mail middle_for_servers \
  root_for_mail; do
  issue "by_$issuer" "$issuer" server app
done
issue by_middle_bounded_elsewhere middle_bounded server other_host
cn=elsewhere.example issue by_middle_bounded_common_name middle_bounded server app_without_ids
cn=middle_last issue middle_last_new_key middle_last stranger authority
issue by_middle_last_new_key middle_last_new_key server app
cn=middle_bounded issue middle_bounded_new_key middle_bounded stranger elsewhere_authority
issue by_middle_bounded_new_key middle_bounded_new_key server app
cn=elsewhere.example issue by_middle_bounded_host_name middle_bounded server app
issue by_middle_no_usage middle_no_usage server app
issue by_root_edwards root edwards app
issue middle_edwards root edwards authority
issue by_middle_edwards middle_edwards server app "" "" default
issue middle_weak_curve root weak_curve authority
issue by_middle_weak_curve middle_weak_curve server app
for extensions in at_point at_relative_point at_partial_point at_others_point; do
  issue "by_root_$extensions" root server "$extensions"
done
issue by_root_revoked root server app
issue by_root_expired_leaf root server app "" "$past_end"
issue by_root_sha1_leaf root server app "" "" sha1

# ---- revocation lists
# revocation_list NAME ISSUER [LAST_UPDATE [NEXT_UPDATE]]: of all that this issuer has revoked
revocation_list() {
  authority "$2" -gencrl -cert "$2.pem" -keyfile "$2.key" -crl_lastupdate "${3:-20260101000000Z}" \
    -crl_nextupdate "${4:-20490101000000Z}" -out "$1.crl.pem"
  openssl crl -in "$1.crl.pem" -outform DER -out "$1.crl"
}
for issuer in root root_expired root_future root_short root_too_long root_sha1 impostor middle middle_expired \
  middle_revoked middle_last middle_below_last middle_no_ca_bit middle_no_sign_usage middle_no_list_usage middle_bounded \
  middle_no_usage middle_bounded_new_key \
  middle_last_new_key middle_for_mail middle_for_servers root_for_mail other_root first second; do
  revocation_list "$issuer" "$issuer"
done
revocation_list root_stale root 20250101000000Z 20250201000000Z
for certificate in by_root_revoked middle_revoked; do
  authority root -cert root.pem -keyfile root.key -revoke "$certificate.pem"
done
revocation_list root_revoking root

# list NAME ISSUER REVOKED EXTENSIONS [LAST_UPDATE [NEXT_UPDATE [FURTHER_ARGUMENTS]]]: of these certificates alone,
# "NAME" or "NAME,REASON" each
list() {
  local revoked
  : >"$1.database"
  for revoked in $3; do
    printf 'R\t490101000000Z\t260101000000Z%s\t%s\tunknown\t/CN=revoked\n' "${revoked#"${revoked%%,*}"}" \
      "$(openssl x509 -in "${revoked%%,*}.pem" -noout -serial | cut -d= -f2)" >>"$1.database"
  done
  printf '[list_%s]\n%b\n' "$1" "$4" >>config
  authority "$1" -gencrl -crlexts "list_$1" -cert "$2.pem" -keyfile "$2.key" -crl_lastupdate "${5:-20260101000000Z}" \
    -crl_nextupdate "${6:-20490101000000Z}" "${@:7}" -out "$1.crl.pem"
  openssl crl -in "$1.crl.pem" -outform DER -out "$1.crl"
}
number() { printf '2.5.29.20=DER:0201%02x\\n' "$1"; }
delta() { printf '%s2.5.29.27=critical,DER:0201%02x\\n' "$(number "$2")" "$1"; } # base, number
scope() { printf 'issuingDistributionPoint=critical,@%s\\n' "$1"; }
cat >>config <<EOF
[users]
onlyuser=TRUE
[authorities]
onlyCA=TRUE
[attributes]
onlyAA=TRUE
[contradictory]
onlyuser=TRUE
onlyCA=TRUE
[some_reasons]
onlysomereasons=keyCompromise,CACompromise
[indirect]
indirectCRL=TRUE
[point]
fullname=URI:http://plant/1
[other_point]
fullname=URI:http://plant/2
[relative_point]
relativename=relative
[other_relative_point]
relativename=other_relative
[other_relative]
OU=other_lists
EOF
bad=by_root_revoked
later=20260301000000Z
just_over=20260501000000Z
next_year=20270101000000Z

list root_4_revokes_over root "$bad" "$(number 4)" "" "$just_over"
list root_5 root "" "$(number 5)"
list root_5_revokes root "$bad middle_revoked" "$(number 5)"
list root_5_over root "" "$(number 5)" "" "$just_over"
list root_5_later root "" "$(number 5)" "$later"
list root_5_later_revokes root "$bad" "$(number 5)" "$later"
list root_5_weak root "" "$(number 5)" "" "" -md sha1
list root_users_6 root "" "$(number 6)$(scope users)" "$later"
list root_6 root "" "$(number 6)"
list root_6_revokes root "$bad" "$(number 6)"
list root_6_revokes_over root "$bad" "$(number 6)" "" "$just_over"
list root_7 root "" "$(number 7)"
list root_7_revokes root "$bad" "$(number 7)"
list root_7_over root "" "$(number 7)" "" "$just_over"
list root_300_revokes root "$bad" '2.5.29.20=DER:0202012c'
list root_removes root "$bad,removeFromCRL" ""
list root_later_revokes root "$bad" "" "$later"
list root_later_named root "" 'authorityKeyIdentifier=keyid' "$later"
list impostor_later impostor "" "" "$later"
list impostor_later_named impostor "" 'authorityKeyIdentifier=keyid' "$later"
list middle_later middle "" "" "$later"
list root_next_year root "" "" "$next_year"
list root_next_year_revokes root "$bad" "" "$next_year"
list root_delta_6 root "" "$(delta 5 6)" "$later"
list root_delta_6_over root "" "$(delta 5 6)" "$later" "$just_over"
list root_delta_6_revokes root "$bad" "$(delta 5 6)" "$later"
list root_delta_6_revokes_over root "$bad" "$(delta 5 6)" "$later" "$just_over"
list root_delta_6_removes root "$bad,removeFromCRL" "$(delta 5 6)" "$later"
list root_delta_6_removes_over root "$bad,removeFromCRL" "$(delta 5 6)" "$later" "$just_over"
list root_delta_6_removes_weak root "$bad,removeFromCRL" "$(delta 5 6)" "$later" "" -md sha1
list root_delta_8 root "" "$(delta 7 8)" "$later"
list root_delta_8_revokes root "$bad" "$(delta 7 8)" "$later"
list root_delta_8_removes root "$bad,removeFromCRL" "$(delta 7 8)" "$later"
list root_delta_of_a_delta root "" "$(delta 6 8)" "$later"
list root_delta_unnumbered root "" '2.5.29.27=critical,DER:020105' "$later"
list root_users_delta_6 root "" "$(delta 5 6)$(scope users)" "$later"
for kind in users authorities attributes contradictory some_reasons indirect point other_point relative_point \
  other_relative_point; do
  list "root_$kind" root "" "$(scope "$kind")"
  list "root_${kind}_revokes" root "$bad" "$(scope "$kind")"
done
list root_unknown_extension root "" '1.2.3.4.5=DER:0500'
list root_critical root "" '1.2.3.4.5=critical,DER:0500'
list root_critical_revokes root "$bad" '1.2.3.4.5=critical,DER:0500' "$later"
list root_malformed_number root "" '2.5.29.20=DER:0500'
for digest in sha1 md5 sha384; do
  list "root_with_$digest" root "" "" "" "" -md "$digest"
  [ "$digest" = md5 ] || list "root_with_pss_$digest" root "" "" "" "" -md "$digest" -sigopt rsa_padding_mode:pss
done
list root_with_sha1_revokes root "$bad" "" "$later" "" -md sha1
list root_revokes_itself root root ""
list other_root_revokes other_root root_cross ""
list middle_edwards middle_edwards "" "" "" "" -md null
list middle_weak_curve middle_weak_curve "" ""
list first_revokes first by_first ""
cn=self_good issue self_good_namesake self stranger authority
list stray self_good_namesake "" ""
list stray_own self_good "" ""
list stray_own_delta self_good "" "$(delta 5 6)"
list stray_own_over self_good "" "" "" "$just_over"
list stray_own_authorities self_good "" "$(scope authorities)"

# ---- not certificates, and spoilt ones
last_byte_changed() {
  local size last
  size=$(stat -c %s "$1")
  last=$(tail -c 1 "$1" | od -An -tu1)
  head -c $((size - 1)) "$1" >"$2"
  printf "\\x$(printf %x $((last ^ 1)))" >>"$2"
}
# a key of a kind that nobody has heard of
LC_ALL=C sed 's/\x2a\x86\x48\x86\xf7\x0d\x01\x01\x01\x05\x00/\x2a\x86\x48\x86\xf7\x0d\x01\x01\x63\x05\x00/' self_good.der >self_unusable_key.der
last_byte_changed by_root.der by_root_forged.der
last_byte_changed self_good.der self_forged.der
last_byte_changed root.crl root_forged.crl
last_byte_changed root_6_revokes.crl root_6_forged.crl
last_byte_changed root_delta_6_revokes.crl root_delta_6_forged.crl
last_byte_changed root_later_named.crl root_later_named_forged.crl
: >spoilt_empty.crl
printf 'not a list\n' >spoilt_text.crl
head -c 300 root_revoking.crl >spoilt_cut.crl
head -c 500 root_revoking.crl.pem >spoilt_cut_pem.crl
cat root.crl root_revoking.crl.pem >spoilt_trailing.crl
cat root.crl middle.crl >both.crl
cat root.crl.pem middle.crl.pem >both_pem.crl
for line in BEGIN END; do
  { cat root.crl.pem; sed "s/-----$line/----$line/" root_revoking.crl.pem; } >"spoilt_${line,,}_pem.crl"
  { sed "s/-----$line/----$line/" root_revoking.crl.pem; cat root.crl.pem; } >"spoilt_${line,,}_first_pem.crl"
done
{ cat root.crl.pem; sed 's/BEGIN/BEGIM/' root_revoking.crl.pem; } >spoilt_begim_pem.crl
{ echo 'What the authority has published:'; cat root.crl.pem root.pem root.crl.pem; } >told_pem.crl
cat root.crl.pem root_revoking.crl >spoilt_binary_behind_pem.crl
cat root.pem root_revoking.crl >spoilt_behind_certificate.crl
{ cat root.pem; sed '2s/^M/A/' root_revoking.crl.pem; } >spoilt_content_behind_certificate.crl
{ cat root.pem; sed 's/-----BEGIN/----BEGIN/' root_revoking.crl.pem; } >spoilt_begin_behind_certificate.crl
cp root.der spoilt_certificate.crl
cp root.pem spoilt_certificate_pem.crl
head -c 500 self_good.der >truncated.der
head -c 1048576 /dev/zero >megabyte.der
: >empty.der
printf 'not a certificate\n' >garbage.der
cat self_good.der garbage.der >trailing.der
