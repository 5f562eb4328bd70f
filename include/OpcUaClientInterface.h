#ifndef OPCUA_CLIENT_INTERFACE_H
#define OPCUA_CLIENT_INTERFACE_H

#include "OpcUaNodelist.h"
#include "OpcUaTypes.h"

/// @file
/// Client for one OPC UA server a client object: synchronous, with plain records and buffers.
///
/// Order of use
/// ------------
///     COpcUaClientInterface client;                  // any number of clients, one a server
///     client.OpcUaInit(OpcUaTraceLevel_Warnings);    // optional: trace file
///     client.OpcUaConnect(config);
///     OpcUaNode* node = client.OpcUaGetUaNode("ns=2;s=Line1.Speed", OpcUaDataType_Double);
///     client.OpcUaGetValue(node, &value, size);
///     client.OpcUaDisConnect();
///
/// Results
/// -------
/// Operations return 0 for success or one of these codes. Most failures leave a message, a fixed UTF-8
/// text in Chinese, which GetErrorMsg() copies out; success leaves the message of the last failure in place.
///
///     code  message                               meaning
///      1  连接服务器失败                        the server could not be connected
///      2  断开连接失败                          the disconnect failed
///      3  服务器未连接                          no session, or its connection is lost
///      4  浏览服务器出错                        browsing failed
///      5  组合节点ID错误                        no NodeId could be made of the record: not returned at
///                                              present, what is no NodeId fails as an unknown node does
///      6  浏览服务器出错，没有预存的节点信息    the record is not in the browse tree
///      7  读节点值出错                          reading failed
///      8  写节点值出错                          writing failed
///      9  创建订阅通道失败, 删除订阅通道失败    the subscription could not be created, deleted
///     10  -                                     the old subscription could not be replaced
///     11  未创建订阅                            there is no subscription
///     12  设置监视项出错                        the node can't be monitored
///     13  删除监视项出错                        the item could not be removed
///     14  清除所有监视项出错                    the items could not be removed
///     15  未找到相应的监视项，确认此节点是否被监视  the node is not monitored
///     17  -                                     the client is incomplete
///     18  -                                     the discovery server did not answer
///     19  -                                     no endpoints could be had
///     20  加载客户端证书失败                    a directory of the certificate store can't be listed
///     21  加载客户端证书失败                    the client's certificate or key can't be loaded
///     22  检查服务器证书是否信任时出错          the server's certificate could not be saved
///     23  检查服务器证书是否信任时出错          the application rejected the server's certificate
///     24  设置证书身份令牌类型失败              the user certificate's file holds none that can be used
///     25  设置证书身份令牌类型失败              the user's key can't be loaded
///     26  设置证书身份令牌类型失败              the user's key is not an RSA key
///     27  设置证书身份令牌类型失败              a directory of the certificate store can't be listed
///     28  设置证书身份令牌类型失败              user certificate and key can't be made, or be read
///     29  传入的参数为空或者无效                a pointer is null, or a count is out of range
///
/// A message without a code: "读数据类型失败", left by a successful browse for a node without a readable
/// value.
///
/// Why a connection failed or was lost is in the trace file (OpcUaInit()); from OpcUaTraceLevel_Warnings on
/// also what the server said of a node that could not be read, written or monitored.
///
/// Memory
/// ------
/// Buffers and records passed in stay the caller's; nothing is kept beyond the call but the callback
/// object and what an operation says. Nodes that browsing and lookup return are the library's: read them,
/// hand them to other operations, but do not free them, and write only their `dataType` and `result`.
/// They last as the operations say, at most as long as the client.
///
/// Threads
/// -------
/// OpcUaConnect, OpcUaBrowse, reading, writing and the subscription's operations are served one at a
/// time: a second thread waits. A service call ends after 10 s at the latest when the server is silent;
/// browsing makes many. OpcUaBrowse, OpcUaGetMultiValue and OpcUaAddMultiMonitNode have up to 16 requests on
/// their way at a time, in order, with the outcome of one after the other. These take no part in that order:
/// - OpcUaGetConnectStatus and GetErrorMsg: at any time, on any thread, from callbacks too. The message
///   is that of the last failure on any thread.
/// - OpcUaDiscover: at any time; it has nothing to do with the session.
/// - OpcUaDisConnect: not while another operation of the same client but OpcUaDisConnect runs on another
///   thread.
/// - OpcUaDeleteSubScription: waits for what adds, removes or clears items, and for the callback that is
///   running; for nothing else.
/// - OpcUaGetUaNode: one call at a time, and not while a looked-up node is being browsed.
/// - OpcUaReadRootNode, and walking the tree: not while OpcUaBrowse runs.
///
/// Clients are independent of each other. A client must not be used while it is constructed or destroyed.
///
/// No exception leaves the library but std::bad_alloc.

/// The implementation behind a client. Applications use COpcUaClientInterface, where the operations are
/// explained; the order of these slots is part of the binary interface.
class OPCUACLIENT_EXPORT COpcUaClientImp {
public:
    COpcUaClientImp();
    virtual ~COpcUaClientImp();

    virtual int OpcUaInit(_OpcUaClientTraceLevel level) = 0;
    virtual int OpcUaDiscover(char* discoveryUrl, _OpcUa_ServerConfigMsg& result) = 0;
    virtual int OpcUaConnect(_OpcUaClientConfig& config) = 0;
    virtual int OpcUaDisConnect() = 0;
    virtual int OpcUaBrowse(OpcUaNode* node) = 0;
    virtual int OpcUaGetValue(OpcUaNode* node, void* buffer, int& size) = 0;
    virtual int OpcUaSetValue(OpcUaNode* node, const void* buffer, int& size) = 0;
    virtual int OpcUaCreateSubScription(double publishingInterval) = 0;
    virtual int OpcUaDeleteSubScription() = 0;
    virtual int OpcUaAddMonitNode(OpcUaNode* node, unsigned long* index, int count) = 0;
    virtual int OpcUaRemoveMonitNode(OpcUaNode* node, unsigned long* index, int count) = 0;
    virtual int OpcUaClearMonitNode() = 0;
    virtual OpcUaNode* OpcUaReadRootNode() = 0;
    virtual OpcUaNode* OpcUaGetUaNode(const char* nodeId, _OpcUaDataType dataType) = 0;
    virtual int OpcUaGetConnectStatus() = 0;
    virtual char* GetErrorMsg(char* buffer, int size) = 0;
    /// `callback` is a COpcUaClientInterface::OpcUaCallBack*.
    virtual int installOpcUaCallBack(void* callback) = 0;
    /// Called once by the facade, with the implementation itself; not for applications.
    virtual void installClient(void* client) = 0;
    virtual int OpcUaGetArrayValue(OpcUaNode* node, unsigned long* index, int count, void* buffer,
                                   int& size) = 0;
    virtual int OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count, const void* buffer,
                                   int& size) = 0;
    virtual int OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count) = 0;
    virtual int OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count) = 0;
    virtual int OpcUaAddMultiMonitNode(OpcUaNode* nodes, int count) = 0;
};

/// One client: one connection to one server. Neither copied nor moved.
class OPCUACLIENT_EXPORT COpcUaClientInterface {
public:
    /// What the application implements to be called back. The library never deletes it; it must outlive
    /// the client.
    class OpcUaCallBack {
    public:
        /// A value changed. Called on a thread of the library's own, one change at a time. Values that are
        /// Bad or Uncertain are not delivered.
        ///
        /// While it runs nothing else is delivered; up to 200000 changes or 64 MiB wait, beyond that the
        /// latest of each item, with a line in the trace. It may use any client's values and browse,
        /// disconnect or destroy its own, and ask for status and message. Of its own client it must not add,
        /// remove or clear items or delete or replace the subscription: that waits for itself for good. And
        /// as long as another thread does that it must not connect, read, write or browse: the two would
        /// wait for each other. What it throws is traced and goes no further. Neither of the two
        /// may end or cancel the thread that it is called on.
        virtual void OpcUaDataChange(_OpcUaDataChangeMsg message) = 0;
        /// Decides on a server certificate that the client does not find good (OPC UA Part 4, 6.1.3): most
        /// often one that nobody trusted yet, but also one that has expired, was revoked or belongs to
        /// another application. The trace says what is wrong with it. All texts are empty when the server
        /// has no certificate.
        ///
        /// - 0 accepts it as it is, for this connection; the next one asks again.
        /// - 1 saves it in the trust list. It is then verified anew: what is wrong with it besides makes
        ///   the connect fail with 1.
        /// - Anything else rejects it, and so does an exception: the connect returns 23.
        ///
        /// Called by OpcUaConnect on its own thread, before anything secret is sent; its time does not
        /// count for the connect's time-out. Of this client only OpcUaGetConnectStatus and GetErrorMsg may
        /// be called meanwhile.
        virtual int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) = 0;

    protected:
        ~OpcUaCallBack() = default;
    };

    /// Starts the library for this client. Throws std::bad_alloc.
    COpcUaClientInterface();
    /// Disconnects if need be and frees all nodes. Returns after the last callback; may be called from
    /// inside one. The last client of the process closes the trace file.
    virtual ~COpcUaClientInterface();
    COpcUaClientInterface(const COpcUaClientInterface&) = delete;
    COpcUaClientInterface& operator=(const COpcUaClientInterface&) = delete;

    /// Opens the trace file "OpcUaClient.log" in the directory of the running executable and sets its
    /// verbosity.
    ///
    /// Where the environment variable OPCUACLIENT_DIRECTORY names an absolute directory, that one stands for
    /// the executable's directory: here, and for the configuration file and all that it names (see
    /// OpcUaConnect()). Anything else, and the variable of a set-uid or set-gid program, is ignored. It is
    /// read by this call and by each connect: a program that sets it itself does so before its first client.
    ///
    /// One trace serves the whole process: a later call, on any client, replaces the level. Entries are
    /// lines with UTC time; after 50000 a file becomes "OpcUaClient.log.1", up to ".10". Passwords and
    /// keys are never written. Without this call nothing is traced.
    ///
    /// @return always 0, also when the file can't be written: then there is no trace
    int OpcUaInit(_OpcUaClientTraceLevel level);

    /// Asks a discovery server, or any server, which servers it knows and each of them for its endpoints
    /// (OPC UA Part 4, 5.5.2 and 5.5.4). Needs no connection, and uses no security.
    ///
    /// Filled of `result`: `serverCount` servers, `discoveryUrlCount` URLs each, and of each URL that
    /// answered the endpoints. What is not filled keeps what the caller left there: zero the record first
    /// (`std::unique_ptr<_OpcUa_ServerConfigMsg> found(new _OpcUa_ServerConfigMsg());` - it has 340 kB,
    /// too much for some stacks).
    ///
    /// - At most 10 servers, 15 URLs a server and 20 endpoints a URL; what is beyond is dropped.
    /// - Of an endpoint list only those count that the URL's scheme can reach ("opc.tcp": binary over
    ///   TCP; "https" and "http": theirs; any other scheme, or one of more than 15 bytes: all of them).
    ///   Those that don't are left out **in place**: an endpoint keeps the index that the server gave it,
    ///   and `endpointCount` says how many there are, not where. With endpoint 0 left out and 1 and 2
    ///   kept, the count is 2 and entry 0 is as the caller left it; in a zeroed record a kept entry has
    ///   an `endpointUrl` that is not empty.
    /// - URLs of other schemes than opc.tcp do not answer at present.
    /// - A URL that did not answer keeps its old `endpointCount`; the others are asked all the same, but
    ///   none when 50 s have passed: it is then as if they had not answered.
    /// - Texts of 100 bytes or more fill their field without a terminating zero.
    /// - An unknown policy, among them one with a URI of more than 128 bytes, counts as 0.
    ///
    /// @param discoveryUrl zero-terminated, "opc.tcp://host:4840"
    /// @return 0 when at least one URL answered; 18 when `discoveryUrl` didn't (`result` is untouched);
    ///         19 when it knows no server, or none of their URLs answered. No message is left.
    ///
    /// Every request takes 10 s at most where nothing answers, and the call a minute at most.
    int OpcUaDiscover(char* discoveryUrl, _OpcUa_ServerConfigMsg& result);

    /// Connects, after disconnecting what was connected.
    ///
    /// Reads "OpcUaClientConfig.ini" in the directory of the running executable, or in the one that
    /// OPCUACLIENT_DIRECTORY names (see OpcUaInit()), each time; without it the defaults hold. A lost
    /// connection is reported by OpcUaGetConnectStatus() and never taken up again by itself: connect again.
    ///
    /// With `securityPolicy`, `securityMode` or `userIdentity` not 0 the connection is a secured one, and
    /// this comes first, in this order:
    /// 1. The client's certificate and key are loaded. If the certificate's file holds none, both are made,
    ///    for five years and the application URI "urn:HMI:Kestrova::RK4400"; a certificate that is there is
    ///    never replaced, expired or not. The server must trust it: copy it into the server's trust list.
    /// 2. The server is asked for its endpoints (10 s at most).
    /// 3. Its certificate, the first endpoint's, is verified: structure, signature and chain, trust list,
    ///    validity, application URI, usage, revocation lists; not the host name. If it is not found good,
    ///    OpcUaCallBack::OpcUaTrustServerCertificate() decides. **Without a callback it is saved in the
    ///    trust list unasked.** The session is bound to this certificate: an endpoint or a channel that
    ///    shows another one is refused.
    /// 4. For a user certificate certificate and key are loaded; if one of the files is missing both are
    ///    made anew, for a year and the name `userName` (default "Authenticated"). What is there but can't
    ///    be read stays (28).
    /// 5. The endpoint is the one with exactly the policy and the mode asked for.
    /// 6. A password goes out encrypted to the server's certificate wherever the server offers that; where
    ///    it doesn't, over the channel as it is. Where that does not encrypt the trace warns, and the
    ///    connect fails with 1 when the server offers an encryption that this client does not know, or does
    ///    not confirm that it has none.
    ///
    /// The file's one group, "UaClientConfig", says where all that is; every key may be missing:
    ///
    ///     key                                default
    ///     CertificateTrustListLocation       [ConfigPath]/pkiclient/trusted/certs/
    ///     CertificateRevocationListLocation  [ConfigPath]/pkiclient/trusted/crl/
    ///     IssuersCertificatesLocation        [ConfigPath]/pkiclient/issuers/certs/
    ///     IssuersRevocationListLocation      [ConfigPath]/pkiclient/issuers/crl/
    ///     ClientCertificate                  [ConfigPath]/pkiclient/own/certs/HMIClient.der
    ///     ClientPrivateKey                   [ConfigPath]/pkiclient/own/private/HMIClient.pem
    ///     UserCertificate                    [ConfigPath]/pkiuser/own/certs/user.der
    ///     UserPrivateKey                     [ConfigPath]/pkiuser/own/private/user.pem
    ///
    /// "[ConfigPath]" and "[ApplicationPath]" both stand for that directory. The first of each
    /// is replaced, what stands before it is dropped, and the result is cut at 511 bytes: with the defaults
    /// the directory may have 475 of them. A directory ends with a slash. Directories are made as they are
    /// needed. Certificates are DER files; what lies in the trust list, among the issuers and the revocation
    /// lists may be PEM, too. Keys are PEM without a password.
    ///
    /// @return 0: connected, and the status reads 1. 1: not within `config.timeout`, or refused by the
    ///         server or by this client, which the trace explains. 19, without a message: the server gave
    ///         no endpoints. 20 to 28: the table at the top. After a failure there is no connection, not
    ///         the old one either.
    int OpcUaConnect(_OpcUaClientConfig& config);

    /// Closes session and connection. When the server has gone already everything is released all the
    /// same.
    ///
    /// The browse tree and looked-up nodes stay valid. Returns after the last callback; may be called
    /// from inside one.
    ///
    /// @return 0; 3 without a session; 2 when the disconnect failed: then the session is kept, and the
    ///         next OpcUaConnect() or the destructor drops it
    int OpcUaDisConnect();

    /// Reads the children of one node into the browse tree: forward hierarchical references of all kinds,
    /// one level (OPC UA Part 4, 5.9.2). Costs one read a child, for its data type and shape; several of them
    /// are on their way at a time.
    ///
    /// What is browsed, and where the children go:
    /// - null: the server's root folder. The tree is freed and begins anew with a record "Root" (i=84)
    ///   that holds the children. Get it with OpcUaReadRootNode().
    /// - a record of the tree: its children are freed and replaced.
    /// - any record, and there is no tree yet: the tree begins with a record "Self_Root" that holds the
    ///   children; the record passed in gets none. It begins even when the node can't be browsed: then
    ///   browse null before another node.
    /// - a record of the application's own, and there is a tree: a record of the tree must have a
    ///   `nodeId` that begins with the text of this one's, else the result is 6. The children go under
    ///   the application's record; those that it has are freed first. `child` must therefore be null or
    ///   have been set by OpcUaBrowse() in this very record: in a copy of a record that was browsed set it to
    ///   null first. The application frees them with `COpcUaNodelist().deleteMemory(&node.child)`.
    /// - a looked-up node: as a record of the application's own, but the library frees the children in
    ///   the end. Never browse the node that was looked up first: the other looked-up nodes are its
    ///   children and would be freed. Browse a copy with `child` set to null.
    ///
    /// So any folder is reached from null on, level by level: browse the record of the tree, look for the
    /// next one among its `child` and their `next`.
    ///
    /// Pointers to freed records dangle. Two records stand for a node that is reached on two ways.
    ///
    /// A child without a readable value (every Object) has data type Null and leaves the message
    /// "读数据类型失败" although the browse succeeds.
    ///
    /// A node has at most 250000 children: a page of the answer that exceeds them ends the browse, as the
    /// tenth empty page in a row does. The trace tells so. Each child is a record of 1.5 kB: a server
    /// can make 366 MB of records out of a page of 4.5 MB.
    ///
    /// @return 0. 3 without a session: the tree is freed. 4 when the server refused, didn't answer or found
    ///         no end, and when the connection is lost: children read until then stay. 6: see above.
    int OpcUaBrowse(OpcUaNode* node);

    /// Reads the current value of a node (OPC UA Part 4, 5.11.2), converted to `node->dataType`.
    ///
    /// `node` is a record of the tree, a looked-up one, or the application's own with `nodeId` and
    /// `dataType` set. Any of the twelve types may be asked for; a value that the type can't hold, and an
    /// array or a matrix, is stored as 0 or an empty text, with result 0. docs/values.md shows every type and
    /// what becomes of each in each other one.
    ///
    ///     dataType            buffer                         size on return
    ///     Boolean             unsigned char, 0 or 1          1
    ///     SByte, Byte         1 byte                         1
    ///     Int16, UInt16       2 bytes                        2
    ///     Int32, UInt32       4 bytes                        4
    ///     Int64, UInt64       8 bytes                        8
    ///     Float, Double       4, 8 bytes                     4, 8
    ///     String              UTF-8, see below               see below
    ///     Null                nothing is written             0
    ///     any other number    nothing is written             unchanged
    ///
    /// Numbers are in host byte order and need no alignment. For them `size` is not looked at on entry:
    /// the buffer must have the width.
    ///
    /// For String `size` is the buffer's capacity on entry. A text that is shorter is stored with a
    /// terminating zero, and `size` becomes its length. Any other fills the whole buffer without a
    /// terminating zero, and `size` becomes capacity - 1 although capacity bytes are written. So when `size`
    /// comes back as capacity - 1 and the buffer's last byte is not 0, the text was cut or is not
    /// terminated; otherwise it is whole, unless it holds zero bytes of its own: then that last byte may be
    /// one of them. With a capacity of 0 or less nothing is written, and `size` becomes one less.
    ///
    /// @return 0. 29: `node` or `buffer` is null. 3: not connected. 7: the service failed, the node does
    ///         not exist or can't be read, or the value's status is Bad or Uncertain; buffer and `size`
    ///         are unchanged.
    int OpcUaGetValue(OpcUaNode* node, void* buffer, int& size);

    /// Writes a node's value (OPC UA Part 4, 5.11.4): the value alone, without status or time stamps.
    /// Servers accept only the node's own type, so `node->dataType` must be right; after browsing it is.
    ///
    /// - Numbers: `size` is how many bytes `buffer` holds. More than the type's width is cut to the
    ///   width, and `size` is set to it; fewer are filled up with zeros; a negative `size` counts as 0. A
    ///   Boolean is true when its byte is not 0.
    /// - String: `buffer` is zero-terminated UTF-8; `size` is neither read nor changed.
    /// - Null and other numbers: an empty value is sent. Most servers refuse it; some take it: the result
    ///   is 0, and the node's value is gone.
    ///
    /// A request that had no answer in its 10 s, or whose connection was lost, fails with 8 although the
    /// server may have carried it out, or will when a cut network is back: the system goes on delivering for
    /// up to 2 minutes. Disconnecting, or connecting anew, ends that: what has not reached the server's
    /// machine by then never does.
    ///
    /// @return 0. 29: `node` or `buffer` is null. 3: not connected. 8: the service failed, or the server
    ///         refused.
    int OpcUaSetValue(OpcUaNode* node, const void* buffer, int& size);

    /// Creates the client's subscription (OPC UA Part 4, 5.14.2); one that exists is deleted first, with all
    /// its items. Changes of the items that are added then reach OpcUaCallBack::OpcUaDataChange().
    ///
    /// The server keeps it for 100000 intervals without a sign of life, and says after 5 quiet ones that it
    /// is there. OpcUaGetConnectStatus() reads 5 when it has ended it or fallen silent on it: delete it then,
    /// whatever comes of that, and create another.
    ///
    /// @param publishingInterval milliseconds between two deliveries; passed on as it is, and the server
    ///        revises it to what it can do
    /// @return 0. 3: not connected. 9: the server refused. 10: the old subscription could not be deleted;
    ///         it is forgotten all the same, there is none then, but where the connection failed meanwhile;
    ///         the message is that of the delete.
    int OpcUaCreateSubScription(double publishingInterval);
    /// Deletes the subscription with all its items (OPC UA Part 4, 5.14.8). No data change is delivered any
    /// more when it returns: it waits for a callback that is running, so don't call it from inside one.
    ///
    /// @return 0. 3: not connected. 11: there is none. 9: the server refused; the subscription and its items
    ///         are forgotten all the same.
    int OpcUaDeleteSubScription();

    /// Monitors the value of a node (OPC UA Part 4, 5.13.2), sampled every 100 ms; the first value comes with
    /// the next delivery, then every change. Of several changes between two deliveries the server keeps the
    /// latest. A copy of `node`, 1.5 kB, is kept until the item goes.
    ///
    /// Client handles number what is added, from 1 to 20000, and then begin anew, however many items there
    /// are by then. An item that is still there takes up its handle in vain: the new one takes its place. The
    /// old one is forgotten, but the server goes on sampling it, and what it reports arrives as values of the
    /// new item's node. Who swaps items for long while others stay clears all of them before 20000 were
    /// added.
    ///
    /// @param index one index a dimension, outermost first, to be told of one element of an array or matrix
    ///        alone; null for the whole value. The server sends the whole value in either case.
    /// @param count number of indices, at most 16; 0 for the whole value. A negative count makes an item that
    ///        never delivers. Without meaning when `index` is null.
    /// @return 0. 29: `node` is null; or, with a subscription there, `count` of indices is above 16. 3: not
    ///         connected. 11: no subscription. 12: the server refused or did not answer in time (the trace
    ///         tells why), or there are 20000 items.
    int OpcUaAddMonitNode(OpcUaNode* node, unsigned long* index, int count);
    /// Stops monitoring a node (OPC UA Part 4, 5.13.6): the first item whose `nodeId` **begins with** the
    /// text of this one's, in the order of client handles: that of adding, until handles begin anew.
    /// "ns=2;s=Tank" removes "ns=2;s=Tank1" if that came first. With indices the item must have been added
    /// with the very same ones; without, any item of the node will do. One item a call.
    ///
    /// @return 0. 29, 3, 11: as OpcUaAddMonitNode(). 15: no such item. 13: the server refused; the item
    ///         stays.
    int OpcUaRemoveMonitNode(OpcUaNode* node, unsigned long* index, int count);
    /// Stops monitoring all nodes in one request. What the server says of the first item counts for all.
    ///
    /// @return 0, also when there are none. 3: not connected. 11: no subscription. 14: the server refused;
    ///         the items stay in the client's list, although it may have deleted others than the first.
    int OpcUaClearMonitNode();

    /// The root of the browse tree, null before the first OpcUaBrowse(). Follow `child` and `next` from
    /// there; `child` is null as well for a node that has not been browsed yet.
    OpcUaNode* OpcUaReadRootNode();

    /// A record for a node that is known by its NodeId, without asking the server; works without a
    /// connection.
    ///
    /// The text is "i=<number>", "s=<text>", "g=<guid>" or "b=<base64>", behind "ns=<index>;" except in
    /// namespace 0 (OPC UA Part 6, 5.3.1.10). It is not checked here: a text that is no NodeId, or names
    /// no node, fails when the record is used.
    ///
    /// A text looked up before gives the record made then, and with its data type: `dataType` counts only
    /// when a record is made. To change it set `dataType` in the record.
    ///
    /// Note that an older record also answers when its text **begins with** the one asked for: once
    /// "ns=2;s=Tank10" has been looked up, "ns=2;s=Tank1" gives the record of Tank10. Look shorter ids up
    /// first, or compare `nodeId` and use a record of your own where they differ.
    ///
    /// The records are valid as long as the client. The first one made has the others as its children. What
    /// the application adds to them with COpcUaNodelist::addNode() stays where it is and is the client's to
    /// free; a record that is added beside the others, below the first, answers lookups, too. One that is
    /// added behind the first, or below another, need not.
    /// Don't change `nodeId`: no lookup returns a record whose `nodeId` does not begin with the text
    /// asked for, but whether the new text is found is open.
    ///
    /// @return never null for a text of up to 256 bytes. Null, with the message of code 29, for null and
    ///         for a longer text, which no record could hold; reading or writing null gives 29.
    OpcUaNode* OpcUaGetUaNode(const char* nodeId, _OpcUaDataType dataType);

    /// State of the connection as last reported:
    ///
    ///     0    not connected
    ///     1    connected
    ///     2    nothing at all has come from the server for 5 s although it was asked for something, nor has
    ///          it taken in more of a long request: it stands still, or there is an outage. Session,
    ///          subscription and items are kept. Until its next sign of life, which makes this 1 again,
    ///          operations answer 3 at once (OpcUaBrowse() 4, after freeing what it was to read anew); a call
    ///          that was under way goes on to its own time-out of 10 s
    ///     3    the connection was closed or lost, or given up because a request could not be sent whole
    ///          within its time-out
    ///     4    the server announced its shutdown
    ///     5    connected, but the server ended the subscription, or is silent on it for 7 to 12 s more than
    ///          it may be; back to 1 with the next value, or with another subscription
    ///
    /// Reads 1 when OpcUaConnect() has succeeded and 0 after OpcUaDisConnect(). With 3 the session is gone:
    /// connect again. With 2 wait, or connect again to give the session up: neither that nor disconnecting
    /// waits for the silent server. May be polled on any thread, a callback included, and never waits.
    int OpcUaGetConnectStatus();

    /// Copies the message of the last failure; empty before the first.
    ///
    /// Copied are at most `size` bytes: a message of `size` bytes or more is cut without a terminating
    /// zero. No message is longer than 60 bytes, so 64 are enough. With `size` 0 or less, or a null
    /// `buffer`, nothing is copied.
    ///
    /// @return `buffer`
    char* GetErrorMsg(char* buffer, int size);

    /// Installs the application's callback; a second call replaces the first. Call it before connecting.
    /// Replaced while changes are delivered, the old one still gets all that waited when their delivery
    /// began.
    ///
    /// @return 0; 29 when `callback` is null: a callback can be replaced, not removed; 17, without a
    ///         message, on an incomplete client
    int installOpcUaCallBack(OpcUaCallBack* callback);

    /// Reads one element of an array or a matrix. The whole value is read from the server (OPC UA Part 4,
    /// 5.11.2); its shape counts, not the record's `arrayInfo`.
    ///
    /// Elements are numbered in row-major order: the last index varies fastest. Only the position that comes
    /// out must lie inside the value: an index beyond its own dimension names the element that its position
    /// hits. Positions are reckoned in 32 bits; of each index the low 32 bits count. To the type Null and to
    /// other numbers, which read nothing, the position does not matter.
    ///
    /// @param index one index a dimension, outermost first
    /// @param count number of indices: 1 for an array, the number of dimensions for a matrix; at most 16
    /// @param buffer, size as in OpcUaGetValue(), for the one element
    /// @return 0. 29: a pointer is null, or `count` is not in 1 to 16. 3: not connected. 7: the read failed
    ///         as in OpcUaGetValue(), the value has another number of dimensions, or no element is there;
    ///         buffer and `size` are unchanged.
    int OpcUaGetArrayValue(OpcUaNode* node, unsigned long* index, int count, void* buffer, int& size);
    /// Writes one element of an array or a matrix: reads the whole value, replaces the element, and writes
    /// all of it back (OPC UA Part 4, 5.11.2 and 5.11.4). What another client writes in between is
    /// overwritten.
    ///
    /// The array is written in the type of the record: elements that this type can't hold, the one to be
    /// replaced among them, make the operation fail before anything is sent. Null and other numbers send an
    /// empty value.
    ///
    /// @param index, count as in OpcUaGetArrayValue()
    /// @param buffer, size as in OpcUaSetValue(), for the one element; `size` is cut also when no element
    ///        is there or the write fails, but not when the value can't be read or has another number of
    ///        dimensions
    /// @return 0. 29: a pointer is null, or `count` is not in 1 to 16. 3: not connected. 8: reading or
    ///         writing failed, the value has another number of dimensions, no element is there, or the
    ///         record's type can't hold one of its elements.
    int OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count, const void* buffer, int& size);

    /// Reads the values of many nodes, in requests of 20 (OPC UA Part 4, 5.11.2), each as OpcUaGetValue()
    /// does.
    ///
    /// Look at every node's `result`: 0 read, with value and `size` filled; 7 not read, value and `size`
    /// unchanged, 3 not connected. A request that fails gives 7 to all its nodes and does not stop the next
    /// one; so does an answer with another number of results than there were nodes. A server that takes fewer
    /// than 20 nodes a call (Server.ServerCapabilities.OperationLimits) refuses each longer request; the
    /// trace tells so: hand over no more nodes a call than it takes.
    ///
    /// Several requests are on their way at a time, each with its own time-out; fewer when the server is slow
    /// or refuses some. Values are stored in the order of the nodes.
    ///
    /// `nodes` and what it points to stay the caller's; every `node` and `value` must be valid. Two requests
    /// for one record leave the later outcome in its `result`.
    ///
    /// @param nodes `count` requests; their `size` is the capacity of `value` for String alone
    /// @return 29 when `nodes` is null or `count` below 1 (no node is touched); 3 when the connection is
    ///         lost; else 0, also without a session and when nodes failed. The message is that of the last
    ///         failure.
    int OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count);
    /// Writes the values of many nodes, in requests of 20 (OPC UA Part 4, 5.11.4), each as OpcUaSetValue()
    /// does: the values alone, `size` cut to the type's width.
    ///
    /// Look at every node's `result`: 0 written, 8 not written as far as is known, 3 not connected. Beyond
    /// that all is as in OpcUaGetMultiValue(), but that each request waits for the answer to the one before
    /// it: a server may serve requests in any order, and of two values for one node the later one is to stay.
    /// That does not hold behind a request that had no answer in its time.
    ///
    /// Within one request of 20 a record whose `dataType` is Null or another number sends what the record
    /// before it sent; as the first of a request it sends an empty value.
    ///
    /// @return as OpcUaGetMultiValue()
    int OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count);
    /// Monitors the whole values of `count` nodes, sent to the server in requests of 20, several on their way
    /// at a time. See OpcUaAddMonitNode().
    ///
    /// Look at every node's `result`: 0 monitored, 12 refused (the trace tells why), 3 not connected, 11 no
    /// subscription. A request that fails, or is answered with another number of results, gives 12 to all its
    /// nodes.
    ///
    /// There is no limit to their number here; but see OpcUaAddMonitNode() on handles.
    ///
    /// @return 29 when `nodes` is null or `count` below 1 (no node is touched); 3 when the connection is
    ///         lost; else 0, also without a session
    int OpcUaAddMultiMonitNode(OpcUaNode* nodes, int count);

private:
    COpcUaClientImp* m_client;
};

#endif
