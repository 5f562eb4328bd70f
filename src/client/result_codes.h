#pragma once

#include "client/last_error.h"

/// Every code and message of the library. Texts are UTF-8 and live as long as the process.
namespace result {

constexpr int success = 0;

constexpr Failure connectFailed{1, "连接服务器失败"};
constexpr Failure disconnectFailed{2, "断开连接失败"};
constexpr Failure notConnected{3, "服务器未连接"};
constexpr Failure browseFailed{4, "浏览服务器出错"};
constexpr Failure nodeIdInvalid{5, "组合节点ID错误"};
constexpr Failure nodeNotBrowsed{6, "浏览服务器出错，没有预存的节点信息"};
constexpr Failure readFailed{7, "读节点值出错"};
constexpr Failure writeFailed{8, "写节点值出错"};
constexpr Failure createSubscriptionFailed{9, "创建订阅通道失败"};
constexpr Failure deleteSubscriptionFailed{9, "删除订阅通道失败"};
constexpr Failure noSubscription{11, "未创建订阅"};
constexpr Failure monitorFailed{12, "设置监视项出错"};
constexpr Failure unmonitorFailed{13, "删除监视项出错"};
constexpr Failure clearFailed{14, "清除所有监视项出错"};
constexpr Failure notMonitored{15, "未找到相应的监视项，确认此节点是否被监视"};
constexpr Failure invalidArgument{29, "传入的参数为空或者无效"};

// Without the sink of the callbacks every operation on the subscription answers its own code.
constexpr const char* sinkMissingText = "回调指针为空";
constexpr Failure deleteWithoutSink{10, sinkMissingText};
constexpr Failure monitorWithoutSink{12, sinkMissingText};
constexpr Failure unmonitorWithoutSink{13, sinkMissingText};
constexpr Failure clearWithoutSink{14, sinkMissingText};

// Codes that leave the message of an earlier failure in place.
constexpr Failure subscriptionNotReplaced{10, nullptr};
constexpr Failure callbackSinkMissing{17, nullptr};
constexpr Failure findServersFailed{18, nullptr};
constexpr Failure getEndpointsFailed{19, nullptr};

// Steps of a secured connect have codes of their own and share one message a step.
constexpr int pkiProviderFailed = 20;
constexpr int clientCertificateFailed = 21;
constexpr int serverCertificateNotSaved = 22;
constexpr int serverCertificateRejected = 23;
constexpr int userCertificateInvalid = 24;
constexpr int userKeyNotLoaded = 25;
constexpr int userKeyNotRsa = 26;
constexpr int userStoreNotOpened = 27;
constexpr int userCertificateNotWritten = 28;
constexpr const char* clientCertificateText = "加载客户端证书失败";
constexpr const char* serverCertificateText = "检查服务器证书是否信任时出错";
constexpr const char* userCertificateText = "设置证书身份令牌类型失败";

// A message without a code: browsing goes on after it.
constexpr Failure dataTypeNotRead{success, "读数据类型失败"};

} // namespace result
