#pragma once

/// The texts that operations leave behind.
namespace messages {

constexpr char connectFailed[] = "连接服务器失败";
constexpr char disconnectFailed[] = "断开连接失败";
constexpr char notConnected[] = "服务器未连接";
constexpr char browseFailed[] = "浏览服务器出错";
constexpr char nodeIdFailed[] = "组合节点ID错误";
constexpr char nodeNotInTree[] = "浏览服务器出错，没有预存的节点信息";
constexpr char readFailed[] = "读节点值出错";
constexpr char writeFailed[] = "写节点值出错";
constexpr char dataTypeFailed[] = "读数据类型失败";
constexpr char clientCertificateFailed[] = "加载客户端证书失败";
constexpr char serverCertificateFailed[] = "检查服务器证书是否信任时出错";
constexpr char userCertificateFailed[] = "设置证书身份令牌类型失败";
constexpr char createSubscriptionFailed[] = "创建订阅通道失败";
constexpr char deleteSubscriptionFailed[] = "删除订阅通道失败";
constexpr char noSubscription[] = "未创建订阅";
constexpr char monitorFailed[] = "设置监视项出错";
constexpr char unmonitorFailed[] = "删除监视项出错";
constexpr char clearFailed[] = "清除所有监视项出错";
constexpr char notMonitored[] = "未找到相应的监视项，确认此节点是否被监视";
constexpr char invalidArgument[] = "传入的参数为空或者无效";

} // namespace messages
