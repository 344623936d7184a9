// Checks passwords with PAM, and group membership in the system's tables.

#include <grp.h>
#include <pwd.h>
#include <security/pam_appl.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "serve/authenticator.h"

namespace orv::serve {
namespace {

/// Answers every prompt for a secret with the password and ignores other messages. The answers
/// belong to PAM, which frees them.
int converse(int count, const pam_message** messages, pam_response** responses, void* password) {
  auto* answers = static_cast<pam_response*>(
      std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
  if (answers == nullptr) return PAM_BUF_ERR;
  for (int i = 0; i < count; ++i) {
    if (messages[i]->msg_style == PAM_PROMPT_ECHO_OFF) {
      answers[i].resp = strdup(static_cast<const char*>(password));
    }
  }
  *responses = answers;
  return PAM_SUCCESS;
}

/// The authenticator delays answers itself: PAM's own delay would block a worker.
void noDelay(int, unsigned, void*) {}

bool passwordIsRight(const std::string& user, const std::string& password) {
  const pam_conv conversation = {converse, const_cast<char*>(password.c_str())};
  pam_handle_t* handle = nullptr;
  if (pam_start("orvcim", user.c_str(), &conversation, &handle) != PAM_SUCCESS) return false;
  pam_set_item(handle, PAM_FAIL_DELAY, reinterpret_cast<const void*>(&noDelay));
  int status = pam_authenticate(handle, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
  if (status == PAM_SUCCESS) {
    status = pam_acct_mgmt(handle, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
  }
  pam_end(handle, status);
  return status == PAM_SUCCESS;
}

bool isMember(const std::string& user, const std::string& group) {
  std::vector<char> buffer(64 * 1024);
  passwd account{};
  passwd* found = nullptr;
  if (getpwnam_r(user.c_str(), &account, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    return false;
  }
  const gid_t primary = account.pw_gid;
  ::group entry{};
  ::group* wanted = nullptr;
  if (getgrnam_r(group.c_str(), &entry, buffer.data(), buffer.size(), &wanted) != 0 ||
      wanted == nullptr) {
    return false;
  }
  const gid_t id = entry.gr_gid;
  int count = 64;
  std::vector<gid_t> groups(static_cast<std::size_t>(count));
  while (getgrouplist(user.c_str(), primary, groups.data(), &count) < 0) {
    groups.resize(std::max(static_cast<std::size_t>(count), groups.size() * 2));
    count = static_cast<int>(groups.size());
  }
  groups.resize(static_cast<std::size_t>(count));
  return std::find(groups.begin(), groups.end(), id) != groups.end();
}

}  // namespace

bool checkWithPam(const std::string& user, const std::string& password, const std::string& group) {
  // The password is checked for everybody: the time of an answer must not tell who is in the group.
  const bool right = passwordIsRight(user, password);
  return isMember(user, group) && right;
}

}  // namespace orv::serve
