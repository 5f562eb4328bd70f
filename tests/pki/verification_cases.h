#pragma once

#include <cstring>

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
/// permanently, and verified again. All names are files of make_stores.sh; what begins with "spoilt_" is no
/// revocation list.
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

    bool hasSpoiltFiles() const {
        return std::strstr(trustedLists, "spoilt_") != nullptr ||
               std::strstr(issuerLists, "spoilt_") != nullptr;
    }
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
    {"ForObjectsAlone",             "self_objects_alone", "", "", "", "self_objects_alone", invalid, invalid},
    {"AlsoForServers",              "self_also_for_servers", "", "", "", "self_also_for_servers", good, good},
    {"MalformedExtension",          "self_malformed_usage", "", "", "", "self_malformed_usage", invalid, invalid},
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
    {"OneKeyUsageMissing",          "self_repudiable", "", "", "", "self_repudiable", use,         use},
    {"NotForServers",               "self_client_only", "", "", "", "self_client_only", use,       use},
    {"ForAnyExtendedUsage",         "self_any_extended_usage", "", "", "", "self_any_extended_usage", good, good},
    {"ProxysCertificate",           "self_proxy",      "", "", "", "self_proxy",      invalid,     invalid},
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
    {"IssuerWithoutKeyUsage",       "root", "root middle_no_usage", "middle_no_usage", "", "by_middle_no_usage", good, good},
    {"IssuerForMailAlone",          "root", "root middle_for_mail", "middle_for_mail", "", "by_middle_for_mail", issuerUse, issuerUse},
    {"RootForMailAlone",            "root_for_mail", "root_for_mail", "", "", "by_root_for_mail", issuerUse, issuerUse},
    {"IssuerForServers",            "root", "root middle_for_servers", "middle_for_servers", "", "by_middle_for_servers", good, good},
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
    {"Rsa768None",                  "self_tiny",  "", "", "", "self_tiny",  policyFailed, policyFailed, policyNone},
    {"Rsa4104None",                 "self_too_long", "", "", "", "self_too_long", good,   good,         policyNone},
    {"GoodUnderBasic256",           "self_good",  "", "", "", "self_good",  good,         good,         basic256},
    {"GoodUnderAes256",             "self_good",  "", "", "", "self_good",  good,         good,         aes256},
    // ---- several that could be the issuer
    {"PoisonReadBeforeTheRoot",     "a_poison root",     "root", "", "", "by_root",      good, good},
    {"PoisonReadAfterTheRoot",      "root z_poison",     "root", "", "", "by_root",      good, good},
    {"PoisonOnBothSides",           "a_poison root z_poison", "root", "a_poison", "", "by_root a_poison z_poison", good, good},
    {"ServersCertificateAsPoison",  "a_poison_app root z_poison_app", "root", "", "", "by_root", good, good},
    {"PoisonBesideAMereIssuer",     "a_poison z_poison", "root", "root", "", "by_root",  untrusted, good},
    {"PoisonAlone",                 "a_poison",          "root", "", "", "by_root",      invalid, invalid},
    {"PoisonAboveTheMiddle",        "a_poison root z_poison", "root middle", "middle", "", "by_middle", good, good},
    {"PoisonDoesNotHideARevocation", "a_poison root z_poison", "root_revoking", "", "", "by_root_revoked", revoked, revoked},
    {"CrossSigned",                 "other_root", "other_root root", "root_cross", "", "by_root",  good, good},
    {"CrossSignedBesideTheRoot",    "other_root", "other_root root", "root root_cross", "", "by_root", good, good},
    {"CrossSignedBothTrusted",      "other_root root", "other_root root", "root_cross", "", "by_root", good, good},
    {"CrossSignedSent",             "other_root", "other_root root", "root", "", "by_root root_cross", good, good},
    {"CrossSignedOtherRootMissing", "root", "root", "root_cross", "", "by_root",         good, good},
    {"CrossCertificateTrusted",     "root_cross", "other_root root", "other_root", "", "by_root", good, good},
    {"CrossCertificateRevoked",     "other_root", "other_root_revokes root", "root_cross", "", "by_root", issuerRevoked, issuerRevoked},
    {"CrossCertificateRevokedRootTrusted", "root other_root", "other_root_revokes root", "root_cross", "", "by_root", good, good},
    {"CrossCertificateWithoutList", "other_root", "root", "root_cross", "", "by_root",   issuerListUnknown, issuerListUnknown},
    {"NewKeyOfTheSameAuthority",    "root", "root impostor", "root_new_key", "", "by_impostor", good, good},
    {"NewKeyWithoutItsOwnList",     "root", "root", "root_new_key", "", "by_impostor",   listUnknown, listUnknown},
    {"RootRenewed",                 "root root_old", "root", "", "", "by_root",          good, good},
    {"RootRenewedOnlyTheOldTrusted", "root_old", "root", "root", "", "by_root",          untrusted, good},
    {"SameNameFirst",               "first second", "first second", "", "", "by_first",  good, good},
    {"SameNameSecond",              "first second", "first second", "", "", "by_second", good, good},
    {"SameNameOnlyTheOtherTrusted", "second", "first second", "first", "", "by_first",   untrusted, good},
    {"SameNameOnlyTheOtherKnown",   "second", "first second", "", "", "by_first",        invalid, invalid},
    {"SameNameOthersList",          "first second", "second", "", "", "by_first",        listUnknown, listUnknown},
    {"SameNameRevoked",             "first second", "first_revokes second", "", "", "by_first", revoked, revoked},
    // ---- lists of changes
    {"DeltaOfARevokingBase",        "root", "root_5_revokes root_delta_6", "", "", "by_root_revoked", revoked, revoked},
    {"DeltaOfAnAuthoritysRevocation", "root", "root_5_revokes root_delta_6 middle_revoked", "middle_revoked", "", "by_middle_revoked", issuerRevoked, issuerRevoked},
    {"DeltaOfAGoodBase",            "root", "root_5 root_delta_6", "", "", "by_root",    good, good},
    {"DeltaRevokes",                "root", "root_5 root_delta_6_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"DeltaRevokesAndIsOutOfDate",  "root", "root_5 root_delta_6_revokes_over", "", "", "by_root_revoked", revoked, revoked},
    {"DeltaTakesBack",              "root", "root_5_revokes root_delta_6_removes", "", "", "by_root_revoked", good, good},
    {"DeltaTakesBackAndIsOutOfDate", "root", "root_5_revokes root_delta_6_removes_over", "", "", "by_root_revoked", revoked, revoked},
    {"DeltaTakesBackWithAWeakSignature", "root", "root_5_revokes root_delta_6_removes_weak", "", "", "by_root_revoked", revoked, revoked},
    {"DeltaTakesBackFromALaterBase", "root", "root_7_revokes root_delta_6_removes", "", "", "by_root_revoked", revoked, revoked},
    {"DeltaAlone",                  "root", "root_delta_6", "", "", "by_root",           listUnknown, listUnknown},
    {"DeltaAloneTakesBack",         "root", "root_delta_6_removes", "", "", "by_root_revoked", listUnknown, listUnknown},
    {"DeltaOfAMissingBaseTakesBack", "root", "root_5_revokes root_delta_8_removes", "", "", "by_root_revoked", revoked, revoked},
    {"DeltaOfAMissingBaseRevokes",  "root", "root_5 root_delta_8_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"DeltaOfAMissingBase",         "root", "root_5 root_delta_8", "", "", "by_root",    good, good},
    {"DeltaOfAMissingBaseOldList",  "root", "root_5_over root_delta_8", "", "", "by_root", listUnknown, listUnknown},
    {"DeltaWithoutNumber",          "root", "root_5_revokes root_delta_unnumbered", "", "", "by_root_revoked", revoked, revoked},
    {"DeltaWithoutNumberAlone",     "root", "root_delta_unnumbered", "", "", "by_root",  listUnknown, listUnknown},
    {"DeltaOfAnotherScope",         "root", "root_5_over root_users_delta_6", "", "", "by_root", listUnknown, listUnknown},
    {"DeltaRenewsItsBase",          "root", "root_5_over root_delta_6", "", "", "by_root", good, good},
    {"DeltaOlderThanItsBase",       "root", "root_7_over root_delta_6", "", "", "by_root", listUnknown, listUnknown},
    {"DeltaContinuesTheNewestBase", "root", "root_5_later root_5_revokes root_delta_6", "", "", "by_root_revoked", good, good},
    {"DeltaOfAWeakBase",            "root", "root_5_weak root_delta_6", "", "", "by_root", listUnknown, listUnknown},
    {"DeltaIsNoBase",               "root", "root_delta_6 root_delta_of_a_delta", "", "", "by_root", listUnknown, listUnknown},
    {"DeltaOutOfDate",              "root", "root_5 root_delta_6_over", "", "", "by_root", good, good},
    {"DeltaAndBaseOutOfDate",       "root", "root_5_over root_delta_6_over", "", "", "by_root", listUnknown, listUnknown},
    // ---- lists that are not for every certificate
    {"UsersListForAServer",         "root", "root_users", "", "", "by_root",             good, good},
    {"UsersListRevokes",            "root", "root_users_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"UsersListForAnAuthority",     "root", "root_users middle", "middle", "", "by_middle", issuerListUnknown, issuerListUnknown},
    {"AuthoritiesListForAServer",   "root", "root_authorities", "", "", "by_root",       listUnknown, listUnknown},
    {"AuthoritiesListForAnAuthority", "root", "root_authorities middle", "middle", "", "by_middle", good, good},
    {"ListsForUsersAndForAuthorities", "root", "root_authorities root_users", "", "", "by_root", good, good},
    {"AuthoritiesListBesideARevokingOne", "root", "root_revoking root_authorities", "", "", "by_root_revoked", revoked, revoked},
    {"AuthoritiesListRevokesAServer", "root", "root root_authorities_revokes", "", "", "by_root_revoked", good, good},
    {"ListOfAnotherPointRevokes",   "root", "root root_other_point_revokes", "", "", "by_root_revoked", good, good},
    {"UsersListTakesNothingBack",   "root", "root_5_revokes root_users_6", "", "", "by_root_revoked", revoked, revoked},
    {"AttributesList",              "root", "root_attributes", "", "", "by_root",        listUnknown, listUnknown},
    {"ContradictoryList",           "root", "root_contradictory", "", "", "by_root",     listUnknown, listUnknown},
    {"ListForSomeReasons",          "root", "root_some_reasons", "", "", "by_root",      listUnknown, listUnknown},
    {"ListForSomeReasonsRevokes",   "root", "root root_some_reasons_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"IndirectList",                "root", "root_indirect", "", "", "by_root",          listUnknown, listUnknown},
    {"IndirectListRevokes",         "root", "root root_indirect_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"ListOfItsPoint",              "root", "root_point", "", "", "by_root_at_point",    good, good},
    {"ListOfAnotherPoint",          "root", "root_other_point", "", "", "by_root_at_point", listUnknown, listUnknown},
    {"ListOfAPointForNoPoint",      "root", "root_point", "", "", "by_root",             listUnknown, listUnknown},
    {"ListOfItsRelativePoint",      "root", "root_relative_point", "", "", "by_root_at_relative_point", good, good},
    {"ListOfAnotherThanItsRelativePoint", "root", "root_point", "", "", "by_root_at_relative_point", listUnknown, listUnknown},
    {"ListOfAnotherRelativePoint",  "root", "root_other_relative_point", "", "", "by_root_at_relative_point", listUnknown, listUnknown},
    {"ListOfAPointForSomeReasons",  "root", "root_point", "", "", "by_root_at_partial_point", listUnknown, listUnknown},
    {"ListOfAPointOfAnotherLister", "root", "root_point", "", "", "by_root_at_others_point", listUnknown, listUnknown},
    {"WholeListForAPoint",          "root", "root", "", "", "by_root_at_point",          good, good},
    // ---- which of several lists counts
    {"HigherNumberTakesBack",       "root", "root_5_revokes root_6", "", "", "by_root_revoked", good, good},
    {"HigherNumberRevokes",         "root", "root_5 root_6_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"HigherNumberRevokesLaterDate", "root", "root_5_later root_6_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"HigherNumberTakesBackLaterDate", "root", "root_5_later_revokes root_6", "", "", "by_root_revoked", good, good},
    {"NumberOfTwoBytes",            "root", "root_300_revokes root_6", "", "", "by_root_revoked", revoked, revoked},
    {"SameNumberLaterDateRevokes",  "root", "root_5 root_5_later_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"SameNumberEarlierDateRevokes", "root", "root_5_later root_5_revokes", "", "", "by_root_revoked", good, good},
    {"SameNumberSameDate",          "root", "root_6 root_6_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"WithoutNumberLaterDateRevokes", "root", "root_5 root_later_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"OutOfDateNewerRevokes",       "root", "root_5 root_6_revokes_over", "", "", "by_root_revoked", revoked, revoked},
    {"OutOfDateOlderRevokes",       "root", "root_4_revokes_over root_5", "", "", "by_root_revoked", good, good},
    {"OutOfDateAlone",              "root", "root_5_over", "", "", "by_root",            listUnknown, listUnknown},
    {"OutOfDateAloneRevokes",       "root", "root_6_revokes_over", "", "", "by_root_revoked", listUnknown, listUnknown},
    {"NotYetValidAlone",            "root", "root_next_year", "", "", "by_root",         listUnknown, listUnknown},
    {"NotYetValidRevokes",          "root", "root_5 root_next_year_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"NotYetValidTakesNothingBack", "root", "root_5_revokes root_next_year", "", "", "by_root_revoked", revoked, revoked},
    {"RevokesAmongTheIssuersLists", "root", "root_5", "", "root_6_revokes", "by_root_revoked", revoked, revoked},
    {"TwoListsInOneFile",           "root", "both", "middle", "", "by_middle",           good, good},
    // ---- lists that do not count
    {"ListUnknownCritical",         "root", "root_critical", "", "", "by_root",          listUnknown, listUnknown},
    {"ListUnknownUncritical",       "root", "root_unknown_extension", "", "", "by_root", good, good},
    {"ListUnknownCriticalRevokes",  "root", "root root_critical_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"WholeListTakesNothingBack",   "root", "root_removes", "", "", "by_root_revoked",   revoked, revoked},
    {"ListMalformedNumber",         "root", "root_malformed_number", "", "", "by_root",  listUnknown, listUnknown},
    {"ListOfOneWhoMayNotSignLists", "root", "root middle_no_list_usage", "middle_no_list_usage", "", "by_middle_no_list_usage", listUnknown, listUnknown},
    {"ListSha1Basic256Sha256",      "root", "root_with_sha1", "", "", "by_root",              listUnknown, listUnknown, basic256Sha256},
    {"ListSha1Aes128",              "root", "root_with_sha1", "", "", "by_root",              listUnknown, listUnknown, aes128},
    {"ListSha1Aes256",              "root", "root_with_sha1", "", "", "by_root",              listUnknown, listUnknown, aes256},
    {"ListSha1UnknownPolicy",       "root", "root_with_sha1", "", "", "by_root",              listUnknown, listUnknown, unknownPolicy},
    {"ListSha1Basic128",            "root", "root_with_sha1", "", "", "by_root",              good, good, basic128},
    {"ListSha1Basic256",            "root", "root_with_sha1", "", "", "by_root",              good, good, basic256},
    {"ListSha1None",                "root", "root_with_sha1", "", "", "by_root",              good, good, policyNone},
    {"ListMd5Basic256Sha256",       "root", "root_with_md5", "", "", "by_root",               listUnknown, listUnknown},
    {"ListMd5Basic128",             "root", "root_with_md5", "", "", "by_root",               listUnknown, listUnknown, basic128},
    {"ListMd5None",                 "root", "root_with_md5", "", "", "by_root",               listUnknown, listUnknown, policyNone},
    {"ListSha384",                  "root", "root_with_sha384", "", "", "by_root",            good, good},
    {"ListPssSha1",                 "root", "root_with_pss_sha1", "", "", "by_root",          listUnknown, listUnknown},
    {"ListPssSha1Basic256",         "root", "root_with_pss_sha1", "", "", "by_root",          good, good, basic256},
    {"ListPssSha384",               "root", "root_with_pss_sha384", "", "", "by_root",        good, good},
    {"ListSha1BesideAStrongOne",    "root", "root root_with_sha1", "", "", "by_root",         good, good},
    {"ListSha1Revokes",             "root", "root root_with_sha1_revokes", "", "", "by_root_revoked", revoked, revoked},
    {"ListForgedIsNewer",           "root", "root_5 root_6_forged", "", "", "by_root",   listUnknown, listUnknown},
    {"ListForgedIsNewerAndNamesTheKey", "root", "root root_later_named_forged", "", "", "by_root", listUnknown, listUnknown},
    {"ListForgedIsNotNewer",        "root", "root_6 root_6_forged", "", "", "by_root",   good, good},
    {"ListForgedIsOlder",           "root", "root_7 root_6_forged", "", "", "by_root",   good, good},
    {"DeltaForgedIsNewer",          "root", "root_5 root_delta_6_forged", "", "", "by_root", listUnknown, listUnknown},
    {"ListOfAnUnknownNamesake",     "root", "root impostor", "", "", "by_root",          good, good},
    {"LaterListOfAnUnknownNamesake", "root", "root impostor_later", "", "", "by_root",   listUnknown, listUnknown},
    {"LaterListOfAnUnknownNamesakeNamesItsKey", "root", "root impostor_later_named", "", "", "by_root", good, good},
    {"LaterListOfAKnownNamesake",   "root", "root impostor_later", "impostor", "", "by_root", good, good},
    {"LaterListOfAnUnknownNamesakeWithAnotherAuthoritysKey", "root", "root impostor_later", "other_root", "", "by_root", listUnknown, listUnknown},
    {"LaterListOfAnotherAuthority", "root", "root middle_later", "", "", "by_root",      good, good},
    // ---- lists of the one who has signed itself
    {"StrayListOfItsName",          "self_good", "stray", "", "", "self_good",           good, good},
    {"StrayListOfItsOwn",           "self_good", "stray_own", "", "", "self_good",       good, good},
    {"StrayDeltaOfItsOwn",          "self_good", "stray_own_delta", "", "", "self_good", good, good},
    {"StrayListOutOfDate",          "self_good", "stray_own_over", "", "", "self_good",  good, good},
    {"StrayListOfAuthorities",      "self_good", "stray_own_authorities", "", "", "self_good", good, good},
    {"RootRevokesItself",           "root", "root_revokes_itself", "", "", "by_root",    issuerRevoked, issuerRevoked},
    // ---- lists that cannot be read: whose they are is not known
    {"ListEmpty",                   "root", "root spoilt_empty", "", "", "by_root",      listUnknown, listUnknown},
    {"ListCut",                     "root", "root spoilt_cut", "", "", "by_root",        listUnknown, listUnknown},
    {"ListCutPem",                  "root", "root spoilt_cut_pem", "", "", "by_root",    listUnknown, listUnknown},
    {"ListBeginDamaged",            "root", "spoilt_begin_pem", "", "", "by_root_revoked", listUnknown, listUnknown},
    {"ListBeginDamagedFirst",       "root", "spoilt_begin_first_pem", "", "", "by_root_revoked", listUnknown, listUnknown},
    {"ListBeginMisspelt",           "root", "spoilt_begim_pem", "", "", "by_root_revoked", listUnknown, listUnknown},
    {"ListEndDamaged",              "root", "spoilt_end_pem", "", "", "by_root_revoked", listUnknown, listUnknown},
    {"ListEndDamagedFirst",         "root", "spoilt_end_first_pem", "", "", "by_root_revoked", listUnknown, listUnknown},
    {"ListsWithWordsAndCertificates", "root", "told_pem", "", "", "by_root",             good, good},
    {"ListIsText",                  "root", "root spoilt_text", "", "", "by_root",       listUnknown, listUnknown},
    {"ListWithSomethingBehind",     "root", "root spoilt_trailing", "", "", "by_root",   listUnknown, listUnknown},
    {"ListCutAmongTheIssuers",      "root", "root", "", "spoilt_cut", "by_root",         listUnknown, listUnknown},
    {"ListCutOfARevokedOne",        "root", "root_revoking spoilt_cut", "", "", "by_root_revoked", listUnknown, listUnknown},
    {"ListCutAndSelfSigned",        "self_good", "spoilt_cut", "", "", "self_good",      good, good},
    {"ListBehindAnotherInBinary",   "root", "spoilt_binary_behind_pem", "", "", "by_root", listUnknown, listUnknown},
    {"ListBehindACertificateInBinary", "root", "root spoilt_behind_certificate", "", "", "by_root", listUnknown, listUnknown},
    {"ListDamagedBehindACertificate", "root", "root spoilt_content_behind_certificate", "", "", "by_root", listUnknown, listUnknown},
    {"ListBeginDamagedBehindACertificate", "root", "root spoilt_begin_behind_certificate", "", "", "by_root", listUnknown, listUnknown},
    {"CertificateAmongTheLists",    "root", "root spoilt_certificate", "", "", "by_root", good, good},
    {"PemCertificateAmongTheLists", "root", "root spoilt_certificate_pem", "", "", "by_root", good, good},
    // ---- names that an authority is bound to
    {"NameWithinBounds",            "root", "root middle_bounded", "middle_bounded", "", "by_middle_bounded", good, good},
    {"NameOutOfBounds",             "root", "root middle_bounded", "middle_bounded", "", "by_middle_bounded_elsewhere", invalid, invalid},
    {"CommonNameOutOfBounds",       "root", "root middle_bounded", "middle_bounded", "", "by_middle_bounded_common_name", invalid, invalid},
    {"CommonNameBesideAHostName",   "root", "root middle_bounded", "middle_bounded", "", "by_middle_bounded_host_name", good, good},
    {"NewKeyIsNoFurtherAuthority",  "root", "root middle_last middle_last_new_key", "middle_last middle_last_new_key", "", "by_middle_last_new_key", good, good},
    {"NewKeyIsNotBoundToItsOwnNames", "root", "root middle_bounded middle_bounded_new_key", "middle_bounded middle_bounded_new_key", "", "by_middle_bounded_new_key", good, good},
    {"UncriticalAddressBlocks",     "self_harmless_address_blocks", "", "", "", "self_harmless_address_blocks", good, good},
    {"CriticalSystemNumbers",       "self_system_numbers", "", "", "", "self_system_numbers", invalid, invalid},
    {"CriticalPolicyConstraints",   "self_demanding_policies", "", "", "", "self_demanding_policies", invalid, invalid},
    {"CriticalAddressBlocks",       "self_address_blocks", "", "", "", "self_address_blocks", invalid, invalid},
    // ---- alternative names
    {"AddressOfThreeBytes",         "self_address_of_three_bytes", "", "", "", "self_address_of_three_bytes", good, good},
    {"OtherUriInUtf8",              "self_uri_in_utf8",   "", "", "", "self_uri_in_utf8",   uriInvalid, uriInvalid},
    {"OtherUriInLatin1",            "self_uri_in_latin1", "", "", "", "self_uri_in_latin1", uriInvalid, uriInvalid},
    {"ThreeHundredKilobytes",       "", "", "", "", "self_of_300_kilobytes", invalid, invalid},
    {"SixtyKilobytes",              "self_of_60_kilobytes", "", "", "", "self_of_60_kilobytes", good, good},
    // ---- keys that are not RSA
    {"KeyThatIsNotRsa",             "root", "root", "", "", "by_root_edwards",           policyFailed, policyFailed},
    {"KeyThatCannotBeUsed",         "self_unusable_key", "", "", "", "self_unusable_key", invalid, invalid},
    {"AuthoritysWeakCurve",         "root", "root middle_weak_curve", "middle_weak_curve", "", "by_middle_weak_curve", policyFailed, policyFailed},
    {"AuthoritysKeyThatIsNotRsa",   "root", "root middle_edwards", "middle_edwards", "", "by_middle_edwards", good, good},
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
