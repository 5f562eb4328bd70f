#pragma once

#include "uabase/status.h"

/// Which server certificates pass which store: the verifier and the whole library are held to the same rows.
namespace verification_cases {

constexpr const char* policyNone = "http://opcfoundation.org/UA/SecurityPolicy#None";
constexpr const char* basic128 = "http://opcfoundation.org/UA/SecurityPolicy#Basic128Rsa15";
constexpr const char* basic256 = "http://opcfoundation.org/UA/SecurityPolicy#Basic256";
constexpr const char* basic256Sha256 = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";
constexpr const char* aes128 = "http://opcfoundation.org/UA/SecurityPolicy#Aes128_Sha256_RsaOaep";
constexpr const char* aes256 = "http://opcfoundation.org/UA/SecurityPolicy#Aes256_Sha256_RsaPss";
constexpr const char* unknownPolicy = "http://opcfoundation.org/UA/SecurityPolicy#Unheard";

/// A store, what a server sends, and what comes of it; afterwards the server's certificate itself is trusted
/// permanently, and verified again. All names are files of make_stores.sh.
struct Case {
    const char* name;
    const char* trusted;
    const char* trustedLists;
    const char* issuers;
    const char* issuerLists;
    const char* sent;
    OpcUa_StatusCode expected;
    OpcUa_StatusCode expectedOnceTrusted;
    const char* policy = basic256Sha256;
};

constexpr OpcUa_StatusCode good = OpcUa_Good;
constexpr OpcUa_StatusCode invalid = OpcUa_BadCertificateInvalid;
constexpr OpcUa_StatusCode incomplete = OpcUa_BadCertificateChainIncomplete;
constexpr OpcUa_StatusCode policyFailed = OpcUa_BadCertificatePolicyCheckFailed;
constexpr OpcUa_StatusCode untrusted = OpcUa_BadCertificateUntrusted;
constexpr OpcUa_StatusCode timeInvalid = OpcUa_BadCertificateTimeInvalid;
constexpr OpcUa_StatusCode issuerTimeInvalid = OpcUa_BadCertificateIssuerTimeInvalid;
constexpr OpcUa_StatusCode uriInvalid = OpcUa_BadCertificateUriInvalid;
constexpr OpcUa_StatusCode use = OpcUa_BadCertificateUseNotAllowed;
constexpr OpcUa_StatusCode issuerUse = OpcUa_BadCertificateIssuerUseNotAllowed;
constexpr OpcUa_StatusCode listUnknown = OpcUa_BadCertificateRevocationUnknown;
constexpr OpcUa_StatusCode issuerListUnknown = OpcUa_BadCertificateIssuerRevocationUnknown;
constexpr OpcUa_StatusCode revoked = OpcUa_BadCertificateRevoked;
constexpr OpcUa_StatusCode issuerRevoked = OpcUa_BadCertificateIssuerRevoked;

// clang-format off
const Case cases[] = {
    // name                         trusted            its lists        issuers    their lists  sent  expected  once trusted
    // ---- self-signed
    {"SelfSignedTrusted",           "self_good",       "", "", "", "self_good",       good,        good},
    {"SelfSignedUnknown",           "",                "", "", "", "self_good",       untrusted,   good},
    {"SelfSignedAnotherTrusted",    "self_other_host", "", "", "", "self_good",       untrusted,   good},
    {"SelfSignedAmongIssuersOnly",  "", "", "self_good",       "", "self_good",       untrusted,   good},
    {"SelfSignedExpired",           "self_expired",    "", "", "", "self_expired",    timeInvalid, timeInvalid},
    {"SelfSignedExpiredUnknown",    "",                "", "", "", "self_expired",    untrusted,   timeInvalid},
    {"SelfSignedNotYetValid",       "self_future",     "", "", "", "self_future",     timeInvalid, timeInvalid},
    {"SelfSignedWrongSignature",    "self_forged",     "", "", "", "self_forged",     invalid,     invalid},
    {"OnlyTheSignatureDiffers",     "self_good",       "", "", "", "self_forged",     invalid,     invalid},
    {"UnknownCriticalExtension",    "self_unknown_critical", "", "", "", "self_unknown_critical", invalid, invalid},
    // ---- application URI and host name
    {"OtherUri",                    "self_other_uri",  "", "", "", "self_other_uri",  uriInvalid,  uriInvalid},
    {"UriContainsTheRightOne",      "self_longer_uri", "", "", "", "self_longer_uri", uriInvalid,  uriInvalid},
    {"NoUri",                       "self_no_uri",     "", "", "", "self_no_uri",     uriInvalid,  uriInvalid},
    {"RightUriFirstOfTwo",          "self_two_uris",   "", "", "", "self_two_uris",   good,        good},
    {"RightUriSecondOfTwo",         "self_two_uris_other_first", "", "", "", "self_two_uris_other_first", uriInvalid, uriInvalid},
    {"OtherHostNameIsNoError",      "self_other_host", "", "", "", "self_other_host", good,        good},
    // ---- usage
    {"NoKeyUsage",                  "self_no_usage",   "", "", "", "self_no_usage",   use,         use},
    {"IncompleteKeyUsage",          "self_partial_usage", "", "", "", "self_partial_usage", use,   use},
    {"NotForServers",               "self_client_only", "", "", "", "self_client_only", use,       use},
    {"AuthorityBitOnTheLeaf",       "self_ca_app",     "", "", "", "self_ca_app",     use,         use},
    // ---- issued by an authority
    {"IssuedByTrustedAuthority",    "root",            "root", "", "",  "by_root",       good,       good},
    {"ServerSendsTheWholeChain",    "root",            "root", "", "",  "by_root root",  good,       good},
    {"IssuedByMereIssuer",          "",                "", "root", "root", "by_root",    untrusted,  good},
    {"LeafTrustedIssuerKnown",      "by_root",         "", "root", "root", "by_root",    good,       good},
    {"LeafTrustedIssuerSent",       "by_root",         "root", "", "", "by_root root",   good,       good},
    {"LeafTrustedIssuerUnknown",    "by_root",         "", "", "", "by_root",            incomplete, incomplete},
    {"IssuerUnknown",               "self_good",       "", "", "", "by_root",            incomplete, incomplete},
    {"SentIssuerIsNotTrusted",      "",                "root", "", "", "by_root root",   untrusted,  good},
    {"SentIssuersOrderDoesNotMatter", "root", "root middle", "", "", "by_middle root middle", good,  good},
    // ---- chains of three
    {"ChainOfThree",                "root",   "root middle", "middle", "", "by_middle",  good,       good},
    {"ChainOfThreeMiddleSent",      "root",   "root middle", "",   "", "by_middle middle", good,     good},
    {"ChainOfThreeMiddleMissing",   "root",   "root middle", "",   "", "by_middle",      incomplete, incomplete},
    {"ChainOfThreeRootMissing",     "middle", "middle",      "",   "", "by_middle",      incomplete, incomplete},
    {"MiddleTrustedRootKnown",      "middle", "middle",  "root", "root", "by_middle",    good,       good},
    {"ChainOfThreeMereIssuers",     "",  "", "root middle", "root middle", "by_middle",  untrusted,  good},
    // ---- signatures
    {"WrongSignature",              "root", "root", "",         "", "by_root_forged",    invalid,    invalid},
    {"AuthorityOfTheSameName",      "root", "root", "",         "", "by_impostor",       incomplete, incomplete},
    {"AuthorityOfTheSameNameSent",  "root", "root impostor", "", "", "by_impostor impostor", untrusted, good},
    // ---- validity of leaf and issuers
    {"LeafExpired",                 "root", "root", "",         "", "by_root_expired_leaf", timeInvalid, timeInvalid},
    {"RootExpired",                 "root_expired", "root_expired", "", "", "by_root_expired", issuerTimeInvalid, issuerTimeInvalid},
    {"RootNotYetValid",             "root_future",  "root_future",  "", "", "by_root_future",  issuerTimeInvalid, issuerTimeInvalid},
    {"MiddleExpired",               "root", "root middle_expired", "middle_expired", "", "by_middle_expired", issuerTimeInvalid, issuerTimeInvalid},
    // ---- revocation
    {"LeafRevoked",                 "root", "root_revoking", "", "", "by_root_revoked",  revoked, revoked},
    {"TrustedLeafRevoked",          "by_root_revoked", "", "root", "root_revoking", "by_root_revoked", revoked, revoked},
    {"NewerListRevokes",            "root", "root_stale root_revoking", "", "", "by_root_revoked", revoked, revoked},
    {"AnotherLeafRevoked",          "root", "root_revoking", "", "", "by_root",          good, good},
    {"MiddleRevoked",               "root", "root_revoking middle_revoked", "middle_revoked", "", "by_middle_revoked", issuerRevoked, issuerRevoked},
    {"NoRevocationList",            "root", "", "", "",          "by_root",              listUnknown, listUnknown},
    {"RevocationListTooOld",        "root", "root_stale", "", "", "by_root",             listUnknown, listUnknown},
    {"RevocationListOldAndNew",     "root", "root_stale root", "", "", "by_root",        good, good},
    {"RevocationListForged",        "root", "root_forged", "", "", "by_root",            listUnknown, listUnknown},
    {"RevocationListOfTheSameName", "root", "impostor", "", "",  "by_root",              listUnknown, listUnknown},
    {"RevocationListAmongIssuers",  "root", "", "", "root",      "by_root",              good, good},
    {"NoListOfTheRoot",             "root", "middle", "middle", "", "by_middle",         issuerListUnknown, issuerListUnknown},
    {"NoListOfTheMiddle",           "root", "root", "middle", "", "by_middle",           listUnknown, listUnknown},
    // ---- issuers that may not issue
    {"IssuerWithoutAuthorityBit",   "root", "root middle_no_ca_bit", "middle_no_ca_bit", "", "by_middle_no_ca_bit", issuerUse, issuerUse},
    {"TrustedIssuerWithoutAuthorityBit", "middle_no_ca_bit", "root middle_no_ca_bit", "root", "", "by_middle_no_ca_bit", issuerUse, issuerUse},
    {"IssuerMayNotSign",            "root", "root middle_no_sign_usage", "middle_no_sign_usage", "", "by_middle_no_sign_usage", issuerUse, issuerUse},
    {"TooManyAuthorities",          "root", "root middle_last middle_below_last", "middle_last middle_below_last", "", "by_middle_below_last", issuerUse, issuerUse},
    // ---- security policies
    {"Sha1Basic256Sha256",          "self_sha1",  "", "", "", "self_sha1",  policyFailed, policyFailed, basic256Sha256},
    {"Sha1Aes128",                  "self_sha1",  "", "", "", "self_sha1",  policyFailed, policyFailed, aes128},
    {"Sha1Aes256",                  "self_sha1",  "", "", "", "self_sha1",  policyFailed, policyFailed, aes256},
    {"Sha1UnknownPolicy",           "self_sha1",  "", "", "", "self_sha1",  policyFailed, policyFailed, unknownPolicy},
    {"Sha1Basic128",                "self_sha1",  "", "", "", "self_sha1",  good,         good,         basic128},
    {"Sha1Basic256",                "self_sha1",  "", "", "", "self_sha1",  good,         good,         basic256},
    {"Sha1None",                    "self_sha1",  "", "", "", "self_sha1",  good,         good,         policyNone},
    {"Sha1LeafOfAuthority",         "root", "root", "", "", "by_root_sha1_leaf", policyFailed, policyFailed},
    {"Sha1RootOfGoodLeaf",          "root_sha1", "root_sha1", "", "", "by_root_sha1", good, good},
    {"Md5Basic256Sha256",           "self_md5",   "", "", "", "self_md5",   policyFailed, policyFailed, basic256Sha256},
    {"Md5Basic128",                 "self_md5",   "", "", "", "self_md5",   policyFailed, policyFailed, basic128},
    {"Rsa1024Basic256Sha256",       "self_short", "", "", "", "self_short", policyFailed, policyFailed, basic256Sha256},
    {"Rsa1024Aes128",               "self_short", "", "", "", "self_short", policyFailed, policyFailed, aes128},
    {"Rsa1024Aes256",               "self_short", "", "", "", "self_short", policyFailed, policyFailed, aes256},
    {"Rsa1024Basic128",             "self_short", "", "", "", "self_short", good,         good,         basic128},
    {"Rsa1024Basic256",             "self_short", "", "", "", "self_short", good,         good,         basic256},
    {"Rsa1024Root",                 "root_short", "root_short", "", "", "by_root_short", policyFailed, policyFailed},
    {"Rsa4096Basic128",             "self_long",  "", "", "", "self_long",  policyFailed, policyFailed, basic128},
    {"Rsa4096Basic256",             "self_long",  "", "", "", "self_long",  policyFailed, policyFailed, basic256},
    {"Rsa4096Basic256Sha256",       "self_long",  "", "", "", "self_long",  good,         good,         basic256Sha256},
    {"Rsa4096Aes128",               "self_long",  "", "", "", "self_long",  good,         good,         aes128},
    {"Rsa4096Aes256",               "self_long",  "", "", "", "self_long",  good,         good,         aes256},
    {"Rsa4096None",                 "self_long",  "", "", "", "self_long",  good,         good,         policyNone},
    {"Rsa4104Basic256Sha256",       "self_too_long", "", "", "", "self_too_long", policyFailed, policyFailed, basic256Sha256},
    {"Rsa4104Aes128",               "self_too_long", "", "", "", "self_too_long", policyFailed, policyFailed, aes128},
    {"Rsa4104Aes256",               "self_too_long", "", "", "", "self_too_long", policyFailed, policyFailed, aes256},
    {"Rsa4104UnknownPolicy",        "self_too_long", "", "", "", "self_too_long", policyFailed, policyFailed, unknownPolicy},
    {"Rsa4104Root",                 "root_too_long", "root_too_long", "", "", "by_root_too_long", good, good},
    {"Rsa1024None",                 "self_short", "", "", "", "self_short", good,         good,         policyNone},
    {"GoodUnderBasic256",           "self_good",  "", "", "", "self_good",  good,         good,         basic256},
    {"GoodUnderAes256",             "self_good",  "", "", "", "self_good",  good,         good,         aes256},
    // ---- not a certificate: nothing can be saved either
    {"Empty",                       "self_good", "", "", "", "",            invalid, invalid},
    {"EmptyFile",                   "self_good", "", "", "", "empty",       invalid, invalid},
    {"Garbage",                     "self_good", "", "", "", "garbage",     invalid, invalid},
    {"Truncated",                   "self_good", "", "", "", "truncated",   invalid, invalid},
    {"Megabyte",                    "self_good", "", "", "", "megabyte",    invalid, invalid},
    {"GarbageBehindTheCertificate", "self_good", "", "", "", "trailing",    invalid, invalid},
    {"TruncatedIssuerBehind",       "self_good", "", "", "", "self_good truncated", invalid, invalid},
    {"TooManyCertificates",         "self_good", "", "", "",
     "self_good root root root root root root root root root root root", invalid, invalid},
};
// clang-format on

} // namespace verification_cases
