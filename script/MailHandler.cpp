#include "script/MailHandler.h"

#include "core/NetworkConnection.h"
#include "core/NetworkManager.h"
#include "core/Output.h"
#include "core/Sorn.h"
#include "script/POP3.h"
#include "script/SMTP.h"
#include "script/ScriptParser.h"
#include "script/Variable.h"

namespace {

const int kSMTPPort = 25;
const int kPOP3Port = 110;

// Sets a variable with a value that may hold any byte.
void SetValue(VariableTree& tree, const char* name, const String& value) {
  Variable* variable = tree.Find(name);
  if (variable != nullptr)
    variable->SetValue(value);
  else
    tree.Insert(new Variable(name, value));
}

}  // namespace

MailHandler::MailHandler(ScriptParser* parser)
    : parser_(parser), connection_(nullptr), pop3_(nullptr), smtp_(nullptr), current_(nullptr) {}

MailHandler::~MailHandler() { Close(); }

// The clients go first: their QUIT still needs the connection.
void MailHandler::Close() {
  delete smtp_;
  smtp_ = nullptr;
  delete pop3_;
  pop3_ = nullptr;
  current_ = nullptr;
  delete connection_;
  connection_ = nullptr;
}

int MailHandler::StartSendMail(const String& to, const String& cc, const String& from, const String& subject,
                               const String& mailhost) {
  Close();
  Sorn* sorn = parser_->sorn();
  NetworkManager* manager = sorn->networkmanager();
  connection_ = manager->Connect(mailhost, kSMTPPort);
  if (connection_ == nullptr) {
    error_ = "Error connecting to '" + mailhost + "': " + manager->error();
    return 0;
  }
  smtp_ = new SMTP(sorn);
  if (smtp_->Connect(connection_) != ReplyGood) {
    error_ = "Error connecting to '" + mailhost + "': " + smtp_->error();
    return 0;
  }
  if (smtp_->SendFrom(from) != ReplyGood) {
    error_ = smtp_->error();
    return 0;
  }
  if (!SendRecipients(to)) return 0;
  if (!cc.empty() && !SendRecipients(cc)) return 0;
  if (smtp_->StartData() != ReplyGood) {
    error_ = smtp_->error();
    return 0;
  }
  SendHeader(to, cc, from, subject);
  return 1;
}

int MailHandler::SendRecipients(const String& list) {
  int maximum = list.freq(",") + 1;
  if (maximum < 1) maximum = 1;  // never: tells the optimizer the size is sane
  String* pieces = new String[maximum];
  int count = split(list, pieces, maximum, ",");
  int result = 1;
  for (int i = 0; i < count; i++) {
    pieces[i].StripWhitespace();
    if (smtp_->AddRecipient(pieces[i]) != ReplyGood) {
      error_ = "Error sending recipient '" + pieces[i] + "': " + smtp_->error();
      result = 0;
      break;
    }
  }
  delete[] pieces;
  return result;
}

void MailHandler::SendHeader(const String& to, const String& cc, const String& from, const String& subject) {
  Output* out = smtp_->output();
  out->Write("Date: " + parser_->sorn()->currentdate() + "\r\n");
  out->Write("From: " + from + "\r\n");
  out->Write("To: " + to + "\r\n");
  if (!cc.empty()) out->Write("CC: " + cc + "\r\n");
  out->Write("X-Mailer: Sorn v3.7600\r\n");
  out->Write("Subject: " + subject + "\r\n");
}

Output* MailHandler::MailOutput() { return smtp_ != nullptr ? smtp_->output() : nullptr; }

int MailHandler::EndSendMail() {
  if (smtp_ != nullptr) smtp_->EndData();
  Close();
  return 1;
}

int MailHandler::StartGetMail(const String& mailhost, const String& login, const String& password,
                              const String& directory, int deleteAfterReading) {
  Close();
  Sorn* sorn = parser_->sorn();
  String resolved, message;
  int resolvedok = sorn->ResolvePath(directory, resolved, DataPath, message);
  if (!resolvedok) error_ = message;
  NetworkManager* manager = sorn->networkmanager();
  connection_ = manager->Connect(mailhost, kPOP3Port);
  if (connection_ == nullptr) {
    error_ = "Error connecting to '" + mailhost + "': " + manager->error();
    return 0;
  }
  if (!resolvedok) return 0;
  pop3_ = new POP3(sorn, deleteAfterReading);
  if (pop3_->Connect(connection_) != ReplyGood) {
    error_ = "";
    return 0;
  }
  if (pop3_->Login(login, password) != ReplyGood) {
    error_ = "Error logging into '" + mailhost + "': " + pop3_->error();
    return 0;
  }
  if (pop3_->BuildMessageList() != ReplyGood) {
    error_ = "Error getting list of messages from '" + mailhost + "': " + pop3_->error();
    return 0;
  }
  directory_ = resolved;
  relativeDirectory_ = directory;
  return 1;
}

int MailHandler::GetNextMessage(VariableTree& tree) {
  if (pop3_ == nullptr) return MailNoMore;
  switch (pop3_->GetNextMessage(&current_, directory_, relativeDirectory_)) {
    case 1:
      break;
    case 0:
      return MailNoMore;
    default:
      error_ = pop3_->error();
      return MailFailed;
  }
  SetValue(tree, "messagebody", current_->relativePath());
  String subject = current_->headers("Subject");
  SetValue(tree, "messagesubject", subject.empty() ? String("(no subject)") : subject);
  String from = current_->headers("From");
  String replyto = current_->headers("Reply-To");
  SetValue(tree, "messagereplyto", replyto.empty() ? from : replyto);
  SetValue(tree, "messagesender", from);
  SetValue(tree, "messagedate", current_->headers("Date"));
  return MailMessage;
}

int MailHandler::DeleteCurrentMessage() {
  if (pop3_ == nullptr || current_ == nullptr) return 1;
  if (pop3_->DeleteMessage(current_) != ReplyGood) {
    error_ = "Error deleting message #" + Decimal(current_->number()) + ": " + pop3_->error();
    return 0;
  }
  return 1;
}

void MailHandler::EndGetMail() { Close(); }
