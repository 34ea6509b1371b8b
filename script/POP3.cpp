#include "script/POP3.h"

#include <climits>
#include <cstdlib>

#include "core/Config.h"
#include "core/File.h"
#include "core/FileManager.h"
#include "core/Sorn.h"

namespace {

// atoi without its undefined overflow: the number is clamped to an int.
int ToInt(const String& text) {
  long value = strtol(text.chars(), nullptr, 10);
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return (int)value;
}

}  // namespace

POP3::POP3(Sorn* sorn, int deleteAfterReading)
    : INetProtocol(sorn, sorn->config()->mailtimeout),
      deleteafterreading_(deleteAfterReading),
      state_(POP3SingleLine),
      nextstate_(POP3SingleLine),
      messages_(1) {}

POP3::~POP3() {
  if (connection_ != nullptr) Disconnect();
}

int POP3::Disconnect() {
  if (connection_ == nullptr) return 0;
  state_ = nextstate_ = POP3SingleLine;
  int status = SendCommand("QUIT");
  if (status != ReplyFailed) INetProtocol::Disconnect();
  return status;
}

bool POP3::EOT(const String& line, String& out) {
  if (line == ".") {
    out = "";
    return true;
  }
  if (line.length() >= 2 && line[0] == '.' && line[1] == '.')
    out = line.from(1);
  else
    out = line;
  return false;
}

int POP3::ProcessResponse(const String& line) {
  int status = ReplyGood;
  String out;
  switch (state_) {
    case POP3SingleLine:
      if (line.length() > 0 && line[0] == '-') {
        Error(line.after(" "));
        status = ReplyFailed;
      }
      break;
    case POP3ListLines:
      if (EOT(line, out)) {
        messages_.First();
        nextstate_ = POP3SingleLine;
      } else {
        nextstate_ = POP3ListLines;
        String number = out.before(" ");
        String size = out.after(" ");
        messages_.Insert(new POP3Message(sorn_, ToInt(number), ToInt(size)), ListTail);
      }
      break;
    default:
      if (EOT(line, out)) {
        if (messages_.Current() != nullptr) messages_.Current()->CloseFile();
        nextstate_ = POP3SingleLine;
      } else {
        nextstate_ = POP3MessageLines;
        if (messages_.Current() != nullptr) messages_.Current()->SaveLine(out);
      }
      break;
  }
  if (status == ReplyFailed) return status;
  state_ = nextstate_;
  return state_ != POP3SingleLine ? ReplyMore : ReplyGood;
}

int POP3::Login(const String& user, const String& password) {
  state_ = nextstate_ = POP3SingleLine;
  int status = SendCommand("USER " + user);
  if (status != ReplyGood) return status;
  return SendCommand("PASS " + password);
}

int POP3::BuildMessageList() {
  nextstate_ = POP3ListLines;
  return SendCommand("LIST");
}

int POP3::GetNextMessage(POP3Message** message, const String& directory, const String& relativeDirectory) {
  POP3Message* current = messages_.Current();
  if (current == nullptr) return 0;
  FileManager* files = sorn_->filemanager();
  String name = directory, relativeName = relativeDirectory;
  name.cat(files->pathseparator());
  name.cat("SORN_POP");
  relativeName.cat(files->pathseparator());
  relativeName.cat("SORN_POP");
  File* file = files->MakeTemporary(name, relativeName, FileWrite);
  if (file == nullptr) {
    Error(files->error());
    return ReplyFailed;
  }
  current->OpenFile(file, name, relativeName);
  nextstate_ = POP3MessageLines;
  state_ = POP3SingleLine;
  int status = SendCommand("RETR " + Decimal(current->number()));
  if (status != ReplyGood) return ReplyFailed;
  if (deleteafterreading_ && DeleteMessage(current) != ReplyGood) return ReplyFailed;
  *message = current;
  messages_.Next();
  return 1;
}

int POP3::DeleteMessage(POP3Message* message) {
  state_ = nextstate_ = POP3SingleLine;
  return SendCommand("DELE " + Decimal(message->number()));
}
