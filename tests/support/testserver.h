// A real management server for tests: the generated ClientCore service over
// TLS on 127.0.0.1, with a certificate made by openssl for the test run.
#pragma once
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "client/client_core.grpc.pb.h"
#include "support.h"

class TestCore final : public client::ClientCore::Service
{
public:
    std::atomic<int> delayMs{0};
    std::atomic<int> errorCode{0};
    std::atomic<int> calls{0};

    grpc::Status WhoAreYou(grpc::ServerContext *context, const google::protobuf::Empty *,
                           client::WhoAreYouReply *reply) override
    {
        ++calls;
        for (int waited = 0; waited < delayMs && !context->IsCancelled(); waited += 10)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        reply->set_name("probix-test");
        if (errorCode) {
            reply->mutable_error()->set_error_code(errorCode);
            reply->mutable_error()->set_error_msg_en("terminal not registered");
            reply->mutable_error()->set_error_msg_zh("终端未注册");
        }
        return grpc::Status::OK;
    }
};

class TestServer
{
public:
    TestServer(const QString &folder, const QString &name) : m_folder(folder), m_name(name) {}
    ~TestServer() { stop(); }

    // Port 0 picks a free port; a later start() on the same object reuses it.
    bool start(int port = -1)
    {
        if (port >= 0)
            m_port = port;
        grpc::SslServerCredentialsOptions tls;
        tls.pem_key_cert_pairs.push_back({testsupport::readAll(m_folder + "/" + m_name + ".key"),
                                          testsupport::readAll(m_folder + "/" + m_name + ".pem")});
        grpc::ServerBuilder builder;
        int chosen = 0;
        builder.AddListeningPort("127.0.0.1:" + std::to_string(m_port), grpc::SslServerCredentials(tls),
                                 &chosen);
        builder.RegisterService(&core);
        m_server = builder.BuildAndStart();
        if (!m_server || chosen == 0)
            return false;
        m_port = chosen;
        return true;
    }
    void stop()
    {
        if (m_server) {
            m_server->Shutdown(std::chrono::system_clock::now() + std::chrono::milliseconds(200));
            m_server->Wait();
            m_server.reset();
        }
    }
    int port() const { return m_port; }

    TestCore core;

private:
    QString m_folder, m_name;
    int m_port = 0;
    std::unique_ptr<grpc::Server> m_server;
};
