add_sdk_library(uapkicpp FOLDER pki
  SOURCES
    certificate.cpp
    certificate_findings.cpp
    certificate_maker.cpp
    certificate_parser.cpp
    certificate_rules.cpp
    certificate_verifier.cpp
    chain_check.cpp
    distinguished_name.cpp
    file_access.cpp
    private_key_file.cpp
    provider.cpp
    rsa_key_pair.cpp
    store.cpp
    store_reader.cpp
  PUBLIC uabasecpp
  PRIVATE OpenSSL::Crypto)
