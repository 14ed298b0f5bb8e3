// The generated protocol classes: what the schemas mean on the wire beyond their tables, the method
// tables the peers match on, and calls against a real server built from the generated service bases.
#include <grpcpp/generic/generic_stub.h>
#include <grpcpp/grpcpp.h>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/empty.pb.h>

#include "client/client_core.grpc.pb.h"
#include "client/client_stream.grpc.pb.h"
#include "common/common_core.grpc.pb.h"
#include "gateway/gateway_core.grpc.pb.h"

#include <chrono>
#include <cstdint>
#include <future>
#include <map>
#include <mutex>
#include <type_traits>

#include <QtTest>

using google::protobuf::DescriptorPool;
using google::protobuf::FieldDescriptor;
using google::protobuf::MethodDescriptor;

namespace
{

enum class Kind { Unary, ClientStreaming, BidiStreaming };

std::chrono::system_clock::time_point deadline()
{
    return std::chrono::system_clock::now() + std::chrono::seconds(10);
}

// Reached through a record of each file, so the file's generated code is linked in and registered.
const google::protobuf::ServiceDescriptor *serviceNamed(const std::string &fullName)
{
    const google::protobuf::FileDescriptor *files[] = {
        common::isUseGatewayReq::descriptor()->file(), client::LoginReq::descriptor()->file(),
        client::ClientMsg::descriptor()->file(), gateway::LoginGatewayReq::descriptor()->file()};
    for (const auto *file : files) {
        for (int i = 0; i < file->service_count(); ++i) {
            if (file->service(i)->full_name() == fullName)
                return file->service(i);
        }
    }
    return nullptr;
}

// What the upload service saw of one call, for the test to compare with what it sent.
struct UploadSeen {
    int messages = 0;
    int metaCount = 0;
    client::onekeyHelpUploadReqMeta meta;
    std::string content;
};

class CoreService final : public client::ClientCore::Service
{
public:
    grpc::Status queryVoiRunningMode(grpc::ServerContext *, const client::QueryVoiRunningModeReq *request,
                                     client::QueryVoiRunningModeResp *reply) override
    {
        reply->set_runningmode(request->deviceid() == 7 ? 2 : 1);
        reply->set_isenabledeloy(true);
        return grpc::Status::OK;
    }

    grpc::Status QueryNodes(grpc::ServerContext *, const google::protobuf::Empty *,
                            client::ResourceList *reply) override
    {
        reply->add_resourceinfo_list()->set_name("node");
        return grpc::Status::OK;
    }

    grpc::Status onekeyHelpUseGateway(grpc::ServerContext *,
                                      grpc::ServerReader<client::onekeyHelpUploadReq> *reader,
                                      client::onekeyHelpUploadResp *reply) override
    {
        UploadSeen seen;
        client::onekeyHelpUploadReq request;
        while (reader->Read(&request)) {
            ++seen.messages;
            if (request.has_onekeyhelpuploadreqmeta()) {
                ++seen.metaCount;
                seen.meta = request.onekeyhelpuploadreqmeta();
            } else {
                seen.content += request.content();
            }
        }
        reply->set_code(seen.messages);
        if (seen.messages == 0) {
            reply->mutable_error()->set_error_code(404);
            reply->mutable_error()->set_error_msg_en("nothing uploaded");
        }
        std::lock_guard<std::mutex> lock(mutex);
        lastUpload = seen;
        return grpc::Status::OK;
    }

    std::mutex mutex;
    UploadSeen lastUpload;
};

// Answers every blocking call once all requests of the stream are in, last first, so only the uuid
// can tie a reply to its request.
class StreamService final : public client::ClientStream::Service
{
public:
    grpc::Status
    ClientStream(grpc::ServerContext *,
                 grpc::ServerReaderWriter<common::StreamMessage, common::StreamMessage> *stream) override
    {
        std::vector<common::BlockingCallReq> pending;
        common::StreamMessage message;
        while (stream->Read(&message)) {
            if (message.messageid() != common::MESSAGE_ID_REQUEST_OF_BLOCKING_CALL)
                continue;
            common::BlockingCallReq request;
            if (!request.ParseFromString(message.content()))
                return grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, "bad blocking call");
            pending.push_back(request);
        }
        for (auto it = pending.rbegin(); it != pending.rend(); ++it) {
            common::BlockingCallResp response;
            response.set_uuid(it->uuid());
            client::ClientMsg wrapped;
            if (wrapped.ParseFromString(it->originalmessage())) {
                client::ClientLogoffMsg logoff;
                logoff.set_result(static_cast<int>(wrapped.vmid() >> 32));
                response.set_status(common::OK);
                response.set_respclazz(logoff.GetDescriptor()->full_name());
                response.set_content(logoff.SerializeAsString());
            } else {
                response.set_status(common::BIZ_ERR);
                response.set_errormsg("not a ClientMsg");
            }
            common::StreamMessage reply;
            reply.set_messageid(common::MESSAGE_ID_RESPONSE_OF_BLOCKING_CALL);
            reply.set_content(response.SerializeAsString());
            stream->Write(reply);
        }
        return grpc::Status::OK;
    }
};

} // namespace

Q_DECLARE_METATYPE(Kind)

class TestProtocol : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void absentErrorReadsEmpty();
    void defaultEnvelopeIsEmptyOnTheWire();
    void emptyRequestsStayDistinctTypes();
    void uploadOneofHoldsOneSide();
    void mapsRoundTrip();
    void keptNamesAndGaps_data();
    void keptNamesAndGaps();
    void methodTable_data();
    void methodTable();
    void serviceSizes();

    void serverMatchesPathsExactly_data();
    void serverMatchesPathsExactly();
    void blockingCallsOverStream();
    void uploadStream_data();
    void uploadStream();

private:
    CoreService core;
    StreamService streamService;
    std::unique_ptr<grpc::Server> server;
    std::shared_ptr<grpc::Channel> channel;
};

void TestProtocol::initTestCase()
{
    int port = 0;
    grpc::ServerBuilder builder;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &port);
    builder.RegisterService(&core);
    builder.RegisterService(&streamService);
    server = builder.BuildAndStart();
    QVERIFY(server);
    QVERIFY(port > 0);
    channel = grpc::CreateChannel("127.0.0.1:" + std::to_string(port), grpc::InsecureChannelCredentials());
    QVERIFY(channel->WaitForConnected(deadline()));
}

void TestProtocol::cleanupTestCase()
{
    channel.reset();
    if (server)
        server->Shutdown(deadline());
}

void TestProtocol::absentErrorReadsEmpty()
{
    // error is the first field of HeartbeatResp and the eleventh of LoginResp.
    client::HeartbeatResp heartbeat;
    QVERIFY(heartbeat.ParseFromString(std::string()));
    QVERIFY(!heartbeat.has_error());
    QCOMPARE(heartbeat.error().error_code(), 0);
    QVERIFY(heartbeat.error().error_msg_zh().empty());
    QVERIFY(heartbeat.error().error_msg_en().empty());

    client::LoginResp sent;
    sent.set_user_id(42);
    sent.add_pool_list()->set_name("pool");
    client::LoginResp login;
    QVERIFY(login.ParseFromString(sent.SerializeAsString()));
    QVERIFY(!login.has_error());
    QCOMPARE(login.error().error_code(), 0);
    QVERIFY(login.error().error_msg_zh().empty() && login.error().error_msg_en().empty());
    QCOMPARE(login.user_id(), std::int64_t{42});

    // An empty error is still present: field 11, length 0.
    QVERIFY(login.ParseFromString(std::string("\x5a\x00", 2)));
    QVERIFY(login.has_error());
    QCOMPARE(login.error().error_code(), 0);
    QVERIFY(login.GetReflection()->GetUnknownFields(login).empty());
}

void TestProtocol::defaultEnvelopeIsEmptyOnTheWire()
{
    common::StreamMessage begin;
    begin.set_messageid(common::MSGID_Begin);
    begin.set_content("");
    QCOMPARE(begin.ByteSizeLong(), size_t(0));
    QVERIFY(begin.SerializeAsString().empty());

    common::StreamMessage call;
    call.set_messageid(common::MESSAGE_ID_REQUEST_OF_BLOCKING_CALL);
    call.set_content("ab");
    QCOMPARE(call.SerializeAsString(), std::string("\x08\x40\x12\x02"
                                                   "ab"));

    // Both id sets travel in the same int32 and must not overlap.
    QCOMPARE(int(common::MESSAGE_ID_RESPONSE_OF_BLOCKING_CALL), 65);
    QCOMPARE(int(client::REQ_FENNLAKE_GAMMA_KEEP_ALIVE_MESSAGE), 20000);
    QCOMPARE(int(client::REQ_FENNLAKE_GAMMA_LOG_OFF), 25005);
    QCOMPARE(int(client::REQ_FENNLAKE_GAMMA_TERMINAL_SHUTDOWN), 26005);
}

void TestProtocol::emptyRequestsStayDistinctTypes()
{
    static_assert(!std::is_same<common::isUseGatewayReq, google::protobuf::Empty>::value,
                  "isUseGatewayReq is a record of its own");
    static_assert(!std::is_convertible<common::isUseGatewayReq *, google::protobuf::Empty *>::value,
                  "isUseGatewayReq is not an Empty");
    // The stub takes each of them in its own signature; a mix-up fails to compile here.
    using Stub = common::CommonCore::StubInterface;
    grpc::Status (Stub::*isUseGateway)(grpc::ClientContext *, const common::isUseGatewayReq &,
                                       common::isUseGatewayResp *) = &Stub::isUseGateway;
    grpc::Status (Stub::*queryGatewayInfo)(grpc::ClientContext *, const google::protobuf::Empty &,
                                           common::queryGatewayInfoResp *) = &Stub::queryGatewayInfo;
    Q_UNUSED(isUseGateway)
    Q_UNUSED(queryGatewayInfo)

    QCOMPARE(common::isUseGatewayReq().ByteSizeLong(), size_t(0));
    QCOMPARE(google::protobuf::Empty().ByteSizeLong(), size_t(0));
    QVERIFY(common::isUseGatewayReq::descriptor() != google::protobuf::Empty::descriptor());
    const auto *service = serviceNamed("common.CommonCore");
    QVERIFY(service);
    QCOMPARE(service->method(0)->input_type(), common::isUseGatewayReq::descriptor());
    QCOMPARE(service->method(1)->input_type(), google::protobuf::Empty::descriptor());
}

void TestProtocol::uploadOneofHoldsOneSide()
{
    using Req = client::onekeyHelpUploadReq;
    Req request;
    QCOMPARE(request.oneof_content_case(), Req::ONEOF_CONTENT_NOT_SET);
    request.set_content("block");
    QCOMPARE(request.oneof_content_case(), Req::kContent);

    request.mutable_onekeyhelpuploadreqmeta()->set_taskid(9);
    QCOMPARE(request.oneof_content_case(), Req::kOnekeyHelpUploadReqMeta);
    QVERIFY(request.content().empty());

    request.set_content("again");
    QVERIFY(!request.has_onekeyhelpuploadreqmeta());
    QCOMPARE(request.onekeyhelpuploadreqmeta().taskid(), std::int64_t{0});

    // Both sides on the wire: the one read last wins.
    Req meta;
    meta.mutable_onekeyhelpuploadreqmeta()->set_filename("log.tar.gz");
    Req parsed;
    QVERIFY(parsed.ParseFromString(request.SerializeAsString() + meta.SerializeAsString()));
    QCOMPARE(parsed.oneof_content_case(), Req::kOnekeyHelpUploadReqMeta);
    QCOMPARE(parsed.onekeyhelpuploadreqmeta().filename(), std::string("log.tar.gz"));
    QVERIFY(parsed.content().empty());

    request.clear_oneof_content();
    QCOMPARE(request.oneof_content_case(), Req::ONEOF_CONTENT_NOT_SET);
    QCOMPARE(request.ByteSizeLong(), size_t(0));
}

void TestProtocol::mapsRoundTrip()
{
    const std::map<std::string, std::string> pairs = {
        {"00:11:22:33:44:55", "192.0.2.10"}, {"66:77:88:99:aa:bb", ""}, {"", "192.0.2.11"}};
    auto check = [&pairs](const google::protobuf::Map<std::string, std::string> &map) {
        return std::map<std::string, std::string>(map.begin(), map.end()) == pairs;
    };

    common::KeepAliveMessage keepAlive;
    common_message::AuthStrategyReq strategy;
    common_message::NetStrategyReq net;
    client::SysParaConfig sso;
    for (const auto &pair : pairs) {
        (*keepAlive.mutable_macip())[pair.first] = pair.second;
        (*strategy.mutable_terminalmacip())[pair.first] = pair.second;
        (*strategy.mutable_domainmacip())[pair.second] = pair.first;
        (*net.mutable_macip())[pair.first] = pair.second;
        (*sso.mutable_paramap())[pair.first] = pair.second;
    }
    common::KeepAliveMessage keepAliveBack;
    common_message::AuthStrategyReq strategyBack;
    common_message::NetStrategyReq netBack;
    client::SysParaConfig ssoBack;
    QVERIFY(keepAliveBack.ParseFromString(keepAlive.SerializeAsString()));
    QVERIFY(strategyBack.ParseFromString(strategy.SerializeAsString()));
    QVERIFY(netBack.ParseFromString(net.SerializeAsString()));
    QVERIFY(ssoBack.ParseFromString(sso.SerializeAsString()));
    QVERIFY(check(keepAliveBack.macip()));
    QVERIFY(check(strategyBack.terminalmacip()));
    QCOMPARE(strategyBack.domainmacip().at("192.0.2.10"), std::string("00:11:22:33:44:55"));
    QVERIFY(check(netBack.macip()));
    QVERIFY(check(ssoBack.paramap()));

    // A peer's entries: key at 1, value at 2, repeated under the map's own number.
    const std::string entry("\x0a\x08\x0a\x01k\x12\x03v.1"
                            "\x0a\x03\x0a\x01z",
                            15);
    QVERIFY(keepAliveBack.ParseFromString(entry));
    QCOMPARE(keepAliveBack.macip_size(), 2);
    QCOMPARE(keepAliveBack.macip().at("k"), std::string("v.1"));
    QCOMPARE(keepAliveBack.macip().at("z"), std::string());
}

void TestProtocol::keptNamesAndGaps_data()
{
    QTest::addColumn<QString>("record");
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<QList<int>>("numbers");
    QTest::addColumn<bool>("whole");
    QTest::newRow("shudown") << "client.ExtendOp" << QStringList{"shudown"} << QList<int>{1} << false;
    QTest::newRow("Manaer") << "common_message.VgpuParaInfo" << QStringList{"grapManaer", "rateControlManaer"}
                            << QList<int>{3, 5} << false;
    QTest::newRow("smsTimout") << "client.LoginResp" << QStringList{"smsTimout"} << QList<int>{13} << false;
    QTest::newRow("isAvaliable") << "common_message.NetStrategyResp" << QStringList{"isAvaliable"}
                                 << QList<int>{2} << false;
    QTest::newRow("isEnableDeloy") << "client.QueryVoiRunningModeResp" << QStringList{"isEnableDeloy"}
                                   << QList<int>{3} << false;
    QTest::newRow("templetId") << "client.PoolInfo" << QStringList{"templetId"} << QList<int>{9} << false;
    QTest::newRow("authPaw") << "client.ApplyForEmailResp" << QStringList{"authPaw"} << QList<int>{6}
                             << false;
    QTest::newRow("datan") << "common_message.Tuple" << QStringList{"datan"} << QList<int>{10} << false;
    QTest::newRow("TemplatesIdOrIsoId")
        << "client.TemplatesOrIsosReq" << QStringList{"TemplatesIdOrIsoId"} << QList<int>{2} << false;
    // The whole record, in declaration order, where numbers are left out.
    QTest::newRow("no 5 in OperateForVmReq")
        << "client.OperateForVmReq"
        << QStringList{"client_base_info", "op_type", "force_flag", "port", "start_domain", "op_description"}
        << QList<int>{1, 2, 3, 4, 6, 7} << true;
    QTest::newRow("14 before 2") << "client.WebAppSetReq" << QStringList{"user_id", "web_app_set"}
                                 << QList<int>{14, 2} << true;
    QTest::newRow("only 2") << "client.WebAppSet" << QStringList{"connect_type"} << QList<int>{2} << true;
    QTest::newRow("Content in the oneof")
        << "client.onekeyHelpUploadReq" << QStringList{"Content", "onekeyHelpUploadReqMeta"}
        << QList<int>{1, 2} << true;
}

void TestProtocol::keptNamesAndGaps()
{
    QFETCH(QString, record);
    QFETCH(QStringList, fields);
    QFETCH(QList<int>, numbers);
    QFETCH(bool, whole);
    const auto *type = DescriptorPool::generated_pool()->FindMessageTypeByName(record.toStdString());
    QVERIFY(type);
    for (int i = 0; i < fields.size(); ++i) {
        const FieldDescriptor *field = type->FindFieldByName(fields[i].toStdString());
        QVERIFY2(field, qPrintable(fields[i]));
        QCOMPARE(field->number(), numbers[i]);
    }
    if (whole) {
        QCOMPARE(type->field_count(), fields.size());
        for (int i = 0; i < fields.size(); ++i)
            QCOMPARE(QString::fromStdString(type->field(i)->name()), fields[i]);
    }
}

void TestProtocol::methodTable_data()
{
    QTest::addColumn<QString>("service");
    QTest::addColumn<int>("order");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("response");
    QTest::addColumn<Kind>("kind");

    QString service;
    int order = 0;
    auto row = [&](const char *path, const char *request, const char *response, Kind kind = Kind::Unary) {
        const QString name = QString(path).section('/', 1, 1);
        order = name == service ? order + 1 : 0;
        service = name;
        QTest::addRow("%s", path) << service << order << path << request << response << kind;
    };
    row("/common.CommonCore/isUseGateway", "common.isUseGatewayReq", "common.isUseGatewayResp");
    row("/common.CommonCore/queryGatewayInfo", "google.protobuf.Empty", "common.queryGatewayInfoResp");
    row("/client.ClientCore/ApplyForDeviceInfo", "client.ApplyForDeviceInfoReq",
        "client.ApplyForDeviceInfoResp");
    row("/client.ClientCore/ApplyForEmailInfo", "google.protobuf.Empty", "client.ApplyForEmailResp");
    row("/client.ClientCore/ApplyForVm", "client.ApplyForVmReq", "client.ApplyForVmResp");
    row("/client.ClientCore/ClientReleasePassword", "client.ClientReleasePasswordReq",
        "client.ClientReleasePasswordResp");
    row("/client.ClientCore/Heartbeat", "client.HeartbeatReq", "client.HeartbeatResp");
    row("/client.ClientCore/Login", "client.LoginReq", "client.LoginResp");
    row("/client.ClientCore/ModifyPassword", "client.ModifyPasswordReq", "client.ModifyPasswordResp");
    row("/client.ClientCore/CheckPassword", "client.CheckPasswordReq", "client.CheckPasswordResp");
    row("/client.ClientCore/ModifyVmName", "client.ModifyVmNameReq", "client.ModifyVmNameResp");
    row("/client.ClientCore/OperateForVm", "client.OperateForVmReq", "client.OperateForVmResp");
    row("/client.ClientCore/RecoverVm", "client.OperateForVmReq", "client.RecoverVmResp");
    row("/client.ClientCore/RegisterDevice", "client.RegisterDevReq", "client.RegisterDevResp");
    row("/client.ClientCore/queryVoiRunningMode", "client.QueryVoiRunningModeReq",
        "client.QueryVoiRunningModeResp");
    row("/client.ClientCore/ReportSuccess", "client.ReportSuccessReq", "client.ReportSuccessResp");
    row("/client.ClientCore/Snapshot", "client.SnapshotReq", "client.SnapshotResp");
    row("/client.ClientCore/Upgrade", "client.UpgradeReq", "client.UpgradeResp");
    row("/client.ClientCore/USBNotify", "client.USBNotifyReq", "client.USBNotifyResp");
    row("/client.ClientCore/GetDesktopPoolById", "client.DeskTopPoolReq", "client.DeskTopPoolResp");
    row("/client.ClientCore/GetLumenhallDesktopPoolById", "client.DeskTopPoolReq", "client.DeskTopPoolResp");
    row("/client.ClientCore/GetTemplatesOrIsos", "client.TemplatesOrIsosReq", "client.TemplatesOrIsosResp");
    row("/client.ClientCore/SaveTemplateInfo", "client.Template", "client.SaveTemplateResp");
    row("/client.ClientCore/queryNextCloudInfo", "client.NextCloudInfoReq", "client.NextCloudInfoResp");
    row("/client.ClientCore/queryDeviceConfigInfo", "client.DeviceConfigInfoReq",
        "client.DeviceConfigInfoResp");
    row("/client.ClientCore/onekeyHelp", "client.OnekeyHelpReq", "client.OnekeyHelpResp");
    row("/client.ClientCore/sendExchangeDataToGuest", "client.ExchangeDataReq", "common_message.VoidResp");
    row("/client.ClientCore/saveVoiInfo", "client.VoiClientData", "common_message.VoidResp");
    row("/client.ClientCore/loadVoiInfo", "client.LoadVoiClientDataReq", "client.VoiClientData");
    row("/client.ClientCore/onekeyHelpUseGateway", "client.onekeyHelpUploadReq",
        "client.onekeyHelpUploadResp", Kind::ClientStreaming);
    row("/client.ClientCore/GetRemoteAppList", "client.LoginReq", "client.RemoteAppListResp");
    row("/client.ClientCore/getConnectAppInfo", "client.RemoteAppInfoReq", "client.RemoteAppInfoResp");
    row("/client.ClientCore/adminLogin", "client.AdminLoginReq", "client.AdminLoginResp");
    row("/client.ClientCore/queryVoiImage", "client.VoiImageReq", "client.VoiImageResp");
    row("/client.ClientCore/queryAgentUseControllerIp", "google.protobuf.Empty",
        "common_message.AgentUseControllerIpResp");
    row("/client.ClientCore/WhoAreYou", "google.protobuf.Empty", "client.WhoAreYouReply");
    row("/client.ClientCore/QueryNodes", "google.protobuf.Empty", "client.ResourceList");
    row("/client.ClientCore/queryTerminalType", "common_message.TerminalTypeReq",
        "common_message.TerminalTypeResp");
    row("/client.ClientCore/queryAuthStrategy", "common_message.AuthStrategyReq",
        "common_message.AuthStrategyResp");
    row("/client.ClientCore/queryIndividualConfig", "client.IndividualConfigReq",
        "client.IndividualConfigResp");
    row("/client.ClientCore/querySaasAppList", "client.ClientBaseInfo", "client.SaasAppListResp");
    row("/client.ClientCore/querySaasApp", "client.SaasAppReq", "common_message.VoidResp");
    row("/client.ClientCore/samlSSO", "client.SamlSSOReq", "client.SamlSSOResp");
    row("/client.ClientCore/queryShareTerminalInfo", "client.ShareTerminalInfoReq",
        "client.ShareTerminalInfoResp");
    row("/client.ClientCore/registerShareTerminal", "client.RegisterShareTerminalReq", "common.ErrorData");
    row("/client.ClientCore/transferDesktopToShareTerminal", "client.TransDeskToShareTerminalReq",
        "common.ErrorData");
    row("/client.ClientCore/LoginTesseraOnShareTerminal", "client.LoginTesseraOnShareTerminalReq",
        "common.ErrorData");
    row("/client.ClientCore/queryVmDetailInfo", "client.VmReq", "client.VmDetailInfoResp");
    row("/client.ClientCore/querySSOConfig", "google.protobuf.Empty", "client.SysParaConfig");
    row("/client.ClientCore/webAppSetSave", "client.WebAppSetReq", "common.ErrorData");
    row("/client.ClientCore/reportRedirectStatus", "client.RedirectStatusReq", "common_message.VoidResp");
    row("/client.ClientCore/getLdapConf", "client.LdapConfReq", "client.LdapConfResp");
    row("/client.ClientCore/getComputerGroupList", "common_message.AuthStrategyReq",
        "common_message.JoinComputerGroupResp");
    row("/client.ClientCore/getQuantumEncryptEnable", "client.QuantumConfigReq", "client.QuantumConfigResp");
    row("/client.ClientCore/confirmQuantumBind", "client.UserQuantumBindReq", "client.UserQuantumBindResp");
    row("/client.ClientCore/getLoginConfig", "client.LoginConfigReq", "client.LoginConfigResp");
    row("/client.ClientCore/getCode", "client.CodeReq", "client.CodeResp");
    row("/client.ClientCore/CheckAndSaveLdapPassword", "client.CheckPasswordReq", "client.CheckPasswordResp");
    row("/client.ClientCore/CheckTmpStorageSize", "client.CheckTmpStorageSizeReq",
        "client.CheckTmpStorageSizeResp");
    row("/client.ClientCore/queryJitGwRandom", "google.protobuf.Empty", "client.GwRandomResp");
    row("/client.ClientCore/authenticate", "client.GwAuthenticateReq", "client.GwAuthenticateResp");
    row("/client.ClientStream/ClientStream", "common.StreamMessage", "common.StreamMessage",
        Kind::BidiStreaming);
    row("/gateway.GatewayCore/CheckAuthStatus", "gateway.CheckAuthStatusReq", "gateway.CheckAuthStatusResp");
    row("/gateway.GatewayCore/LoginGateway", "gateway.LoginGatewayReq", "gateway.LoginGatewayResp");
    row("/gateway.GatewayCore/Authenticate", "gateway.AuthenticateReq", "gateway.AuthenticateResp");
}

void TestProtocol::methodTable()
{
    QFETCH(QString, service);
    QFETCH(int, order);
    QFETCH(QString, path);
    QFETCH(QString, request);
    QFETCH(QString, response);
    QFETCH(Kind, kind);
    const auto *descriptor = serviceNamed(service.toStdString());
    QVERIFY(descriptor);
    QVERIFY(order < descriptor->method_count());
    const MethodDescriptor *method = descriptor->method(order);
    // gRPC's own path rule, with the names in their declared case.
    QCOMPARE(QString::fromStdString("/" + descriptor->full_name() + "/" + method->name()), path);
    QCOMPARE(QString::fromStdString(method->input_type()->full_name()), request);
    QCOMPARE(QString::fromStdString(method->output_type()->full_name()), response);
    QCOMPARE(method->client_streaming(), kind != Kind::Unary);
    QCOMPARE(method->server_streaming(), kind == Kind::BidiStreaming);
}

void TestProtocol::serviceSizes()
{
    const std::pair<const char *, int> sizes[] = {{"client.ClientCore", 59},
                                                  {"common.CommonCore", 2},
                                                  {"client.ClientStream", 1},
                                                  {"gateway.GatewayCore", 3}};
    for (const auto &size : sizes) {
        const auto *service = serviceNamed(size.first);
        QVERIFY2(service, size.first);
        QCOMPARE(service->method_count(), size.second);
    }
}

void TestProtocol::serverMatchesPathsExactly_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("status");
    QTest::newRow("lower-case first letter") << "/client.ClientCore/queryVoiRunningMode" << int(grpc::OK);
    QTest::newRow("upper-case first letter") << "/client.ClientCore/QueryNodes" << int(grpc::OK);
    QTest::newRow("queryVoiRunningMode capitalised")
        << "/client.ClientCore/QueryVoiRunningMode" << int(grpc::UNIMPLEMENTED);
    QTest::newRow("QueryNodes lower-cased") << "/client.ClientCore/queryNodes" << int(grpc::UNIMPLEMENTED);
    QTest::newRow("package case") << "/Client.ClientCore/QueryNodes" << int(grpc::UNIMPLEMENTED);
}

void TestProtocol::serverMatchesPathsExactly()
{
    QFETCH(QString, path);
    QFETCH(int, status);
    // Both requests are valid encodings of either method's request, so only the path decides.
    client::QueryVoiRunningModeReq request;
    request.set_deviceid(7);
    grpc::Slice slice(request.SerializeAsString());
    grpc::ByteBuffer requestBytes(&slice, 1);

    grpc::GenericStub stub(channel);
    grpc::ClientContext context;
    context.set_deadline(deadline());
    grpc::ByteBuffer replyBytes;
    std::promise<grpc::Status> done;
    stub.UnaryCall(&context, path.toStdString(), grpc::StubOptions(), &requestBytes, &replyBytes,
                   [&done](grpc::Status s) { done.set_value(s); });
    const grpc::Status result = done.get_future().get();
    QCOMPARE(int(result.error_code()), status);
    if (!result.ok())
        return;

    std::vector<grpc::Slice> slices;
    QVERIFY(replyBytes.Dump(&slices).ok());
    std::string raw;
    for (const auto &slice : slices)
        raw.append(reinterpret_cast<const char *>(slice.begin()), slice.size());
    if (path.endsWith("queryVoiRunningMode")) {
        client::QueryVoiRunningModeResp reply;
        QVERIFY(reply.ParseFromString(raw));
        QCOMPARE(reply.runningmode(), 2);
        QVERIFY(reply.isenabledeloy());
    } else {
        client::ResourceList reply;
        QVERIFY(reply.ParseFromString(raw));
        QCOMPARE(reply.resourceinfo_list_size(), 1);
        QCOMPARE(reply.resourceinfo_list(0).name(), std::string("node"));
    }
}

void TestProtocol::blockingCallsOverStream()
{
    auto stub = client::ClientStream::NewStub(channel);
    grpc::ClientContext context;
    context.set_deadline(deadline());
    auto stream = stub->ClientStream(&context);
    QVERIFY(stream);

    const std::map<std::string, std::int64_t> calls = {{"7f1c-first", std::int64_t{3} << 32},
                                                       {"7f1c-second", std::int64_t{5} << 32}};
    for (const auto &call : calls) {
        client::ClientMsg wrapped;
        wrapped.set_vmid(call.second);
        common::BlockingCallReq request;
        request.set_uuid(call.first);
        request.set_originalmessage(wrapped.SerializeAsString());
        common::StreamMessage envelope;
        envelope.set_messageid(common::MESSAGE_ID_REQUEST_OF_BLOCKING_CALL);
        envelope.set_content(request.SerializeAsString());
        QVERIFY(stream->Write(envelope));
    }
    QVERIFY(stream->WritesDone());

    std::map<std::string, int> results;
    common::StreamMessage envelope;
    while (stream->Read(&envelope)) {
        QCOMPARE(envelope.messageid(), int(common::MESSAGE_ID_RESPONSE_OF_BLOCKING_CALL));
        common::BlockingCallResp response;
        QVERIFY(response.ParseFromString(envelope.content()));
        QCOMPARE(response.status(), int(common::OK));
        QVERIFY(response.errormsg().empty());
        QCOMPARE(response.respclazz(), std::string("client.ClientLogoffMsg"));
        client::ClientLogoffMsg logoff;
        QVERIFY(logoff.ParseFromString(response.content()));
        results[response.uuid()] = logoff.result();
    }
    QVERIFY(stream->Finish().ok());
    QCOMPARE(results.size(), size_t(2));
    QCOMPARE(results["7f1c-first"], 3);
    QCOMPARE(results["7f1c-second"], 5);
}

void TestProtocol::uploadStream_data()
{
    QTest::addColumn<bool>("withMeta");
    QTest::addColumn<bool>("metaFirst");
    QTest::addColumn<QByteArrayList>("blocks");
    QTest::newRow("metadata, then blocks")
        << true << true << QByteArrayList{"first ", QByteArray("\0\1\2", 3)};
    QTest::newRow("blocks, then metadata") << true << false << QByteArrayList{"only block"};
    QTest::newRow("metadata alone") << true << true << QByteArrayList{};
    QTest::newRow("no message at all") << false << false << QByteArrayList{};
}

void TestProtocol::uploadStream()
{
    QFETCH(bool, withMeta);
    QFETCH(bool, metaFirst);
    QFETCH(QByteArrayList, blocks);

    auto stub = client::ClientCore::NewStub(channel);
    grpc::ClientContext context;
    context.set_deadline(deadline());
    client::onekeyHelpUploadResp reply;
    auto writer = stub->onekeyHelpUseGateway(&context, &reply);
    QVERIFY(writer);

    client::onekeyHelpUploadReq meta;
    meta.mutable_onekeyhelpuploadreqmeta()->set_taskid(std::int64_t{1} << 40);
    meta.mutable_onekeyhelpuploadreqmeta()->set_filename("onekey.log");
    meta.mutable_onekeyhelpuploadreqmeta()->set_filetype("log");
    if (withMeta && metaFirst)
        QVERIFY(writer->Write(meta));
    for (const QByteArray &block : blocks) {
        client::onekeyHelpUploadReq request;
        request.set_content(block.toStdString());
        QVERIFY(writer->Write(request));
    }
    if (withMeta && !metaFirst)
        QVERIFY(writer->Write(meta));
    QVERIFY(writer->WritesDone());
    QVERIFY(writer->Finish().ok());

    const int sent = blocks.size() + (withMeta ? 1 : 0);
    QCOMPARE(reply.code(), sent);
    QCOMPARE(reply.has_error(), sent == 0);
    if (sent == 0) {
        QCOMPARE(reply.error().error_code(), 404);
        QCOMPARE(reply.error().error_msg_en(), std::string("nothing uploaded"));
    }

    std::lock_guard<std::mutex> lock(core.mutex);
    QCOMPARE(core.lastUpload.messages, sent);
    QCOMPARE(core.lastUpload.metaCount, withMeta ? 1 : 0);
    QCOMPARE(QByteArray::fromStdString(core.lastUpload.content), blocks.join());
    if (withMeta) {
        QCOMPARE(core.lastUpload.meta.taskid(), std::int64_t{1} << 40);
        QCOMPARE(core.lastUpload.meta.filename(), std::string("onekey.log"));
        QCOMPARE(core.lastUpload.meta.filetype(), std::string("log"));
    }
}

QTEST_GUILESS_MAIN(TestProtocol)
#include "tst_protocol.moc"
