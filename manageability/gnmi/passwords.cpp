// Asks PAM.
#include "passwords.hpp"

#include <security/pam_appl.h>

#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

namespace ymap::telemetry {
namespace {

/// As many refusals, each with its delay, can be under way at once.
constexpr int kThreads = 4;
constexpr std::size_t kMostWaiting = 100;
/// A client sends its password with each request, and PAM is made for logins.
constexpr std::chrono::seconds kLifetime(60);

grpc::Status refusal() {
  return {grpc::StatusCode::UNAUTHENTICATED, "user name or password is wrong"};
}

/// Answers each prompt with the password; PAM frees the answers.
int converse(int count, const pam_message **messages, pam_response **answers, void *password) {
  if (count <= 0) return PAM_CONV_ERR;
  auto *made =
      static_cast<pam_response *>(std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
  if (made == nullptr) return PAM_BUF_ERR;
  for (int at = 0; at < count; ++at)
    if (messages[at]->msg_style == PAM_PROMPT_ECHO_OFF)
      made[at].resp = ::strdup(static_cast<char *>(password));
  *answers = made;
  return PAM_SUCCESS;
}

bool pam_accepts(const std::string &service, const std::string &user, std::string password,
                 const std::string &peer) {
  const pam_conv conversation = {converse, password.data()};
  pam_handle_t *pam = nullptr;
  if (::pam_start(service.c_str(), user.c_str(), &conversation, &pam) != PAM_SUCCESS) return false;
  int result = peer.empty() ? PAM_SUCCESS : ::pam_set_item(pam, PAM_RHOST, peer.c_str());
  if (result == PAM_SUCCESS) result = ::pam_authenticate(pam, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
  if (result == PAM_SUCCESS) result = ::pam_acct_mgmt(pam, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
  ::pam_end(pam, result);
  return result == PAM_SUCCESS;
}

}  // namespace

Passwords::Passwords(std::string service) : service_(std::move(service)) {
  for (int count = 0; count < kThreads; ++count) threads_.emplace_back([this] { loop(); });
}

Passwords::~Passwords() {
  {
    const std::lock_guard lock(mutex_);
    stops_ = true;
  }
  asked_.notify_all();
  for (auto &thread : threads_) thread.join();
}

bool Passwords::is_known(const std::string &user, const std::string &password) {
  const auto found = accepted_.find(user);
  if (found == accepted_.end()) return false;
  if (Clock::now() - found->second.since <= kLifetime) return found->second.password == password;
  accepted_.erase(found);
  return false;
}

void Passwords::judge(const std::string &user, const std::string &password, const std::string &peer,
                      Done done) {
  // Zero bytes end what PAM sees.
  if (user.empty() || (user + password).find('\0') != std::string::npos) return done(refusal());
  {
    const std::lock_guard lock(mutex_);
    const bool is_known = this->is_known(user, password);
    if (!is_known && questions_.size() < kMostWaiting) {
      questions_.push_back({user, password, peer, std::move(done)});
      asked_.notify_one();
      return;
    }
    if (!is_known) {
      const auto status = grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED, "too many logins wait");
      return done(status);
    }
  }
  done(grpc::Status::OK);
}

void Passwords::loop() {
  for (;;) {
    std::unique_lock lock(mutex_);
    asked_.wait(lock, [this] { return stops_ || !questions_.empty(); });
    if (questions_.empty()) return;
    const auto question = std::move(questions_.front());
    questions_.pop_front();
    lock.unlock();
    const bool is_accepted = pam_accepts(service_, question.user, question.password, question.peer);
    lock.lock();
    if (is_accepted) accepted_.insert_or_assign(question.user, Accepted{question.password, Clock::now()});
    lock.unlock();
    question.done(is_accepted ? grpc::Status::OK : refusal());
  }
}

}  // namespace ymap::telemetry
