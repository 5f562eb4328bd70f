add_sdk_library(uapkicpp FOLDER pki
  SOURCES
    certificate.cpp
    certificate_findings.cpp
    certificate_maker.cpp
    certificate_parser.cpp
    certificate_rules.cpp
    certificate_verifier.cpp
    chain_check.cpp
    chain_finder.cpp
    chained_cipher.cpp
    channel_bytes.cpp
    distinguished_name.cpp
    file_access.cpp
    key_derivation.cpp
    key_record.cpp
    keyed_hash.cpp
    openssl_use.cpp
    own_key.cpp
    peer_key.cpp
    private_key_file.cpp
    provider.cpp
    revocation_check.cpp
    revocation_list.cpp
    revocation_scope.cpp
    rsa.cpp
    rsa_key_pair.cpp
    rsa_private_key.cpp
    security_demands.cpp
    security_policy.cpp
    store.cpp
    store_reader.cpp
    symmetric_keys.cpp
  PUBLIC uabasecpp
  PRIVATE OpenSSL::Crypto)
