#include "script/SMTP.h"

#include "core/Config.h"
#include "core/Sorn.h"
#include "script/SMTPOutput.h"

SMTP::SMTP(Sorn* sorn) : INetProtocol(sorn, sorn->config()->mailtimeout), output_(nullptr) {}

SMTP::~SMTP() {
  if (connection_ != nullptr) Disconnect();
  delete output_;
}

Output* SMTP::output() { return output_; }

int SMTP::Connect(NetworkConnection* connection) {
  int status = INetProtocol::Connect(connection);
  if (status != ReplyGood) return status;
  String host = sorn_->hostname();
  status = SendCommand("HELO " + host);
  if (status == ReplyFailed && host.empty())
    Error(error_ + ": Please ensure that Sorn is able to determine the server's DNS name");
  return status;
}

int SMTP::Disconnect() {
  if (connection_ == nullptr) return 0;
  int status = SendCommand("QUIT");
  if (status == ReplyGood) INetProtocol::Disconnect();
  return status;
}

int SMTP::ProcessResponse(const String& line) {
  if (line.length() > 0 && (line[0] == '4' || line[0] == '5')) {
    Error(line.from(4));
    return ReplyFailed;
  }
  if (line.length() >= 4 && line[3] != ' ') return ReplyMore;
  return ReplyGood;
}

int SMTP::SendFrom(const String& address) { return SendCommand("MAIL FROM: " + address); }

int SMTP::AddRecipient(const String& address) { return SendCommand("RCPT TO: " + address); }

int SMTP::StartData() {
  delete output_;
  output_ = new SMTPOutput(connection_, sorn_->config()->smtpbuffersize);
  return SendCommand("DATA");
}

int SMTP::EndData() {
  if (output_ == nullptr) return ReplyFailed;
  output_->Flush();
  int status = SendCommand(output_->linestart() ? "." : "\r\n.");
  delete output_;
  output_ = nullptr;
  return status;
}
