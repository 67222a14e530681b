// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "helper/platform/AuthorizationServices.h"

namespace wicket::doubles {

/// Answers as the test has scripted it and remembers what it was asked.
class ScriptedAuthorizationServices : public AuthorizationServices {
 public:
  struct Request {
    AuthorizationReference* reference;
    std::string rightName;
    AuthorizationDetails details;
  };

  /// What createFromExternalForm answers: success with a fresh reference, unless set otherwise.
  void setCreationStatus(AuthorizationStatus status) {
    locked([&] { creationStatus_ = status; });
  }
  void setCreationGivesNullReference(bool value) {
    locked([&] { nullReference_ = value; });
  }
  /// What copyRights answers: success, unless set otherwise.
  void setRightsStatus(AuthorizationStatus status) {
    locked([&] { rightsStatus_ = status; });
  }
  void setErrorMessage(AuthorizationStatus status, std::optional<std::string> text) {
    locked([&] { messages_[status] = std::move(text); });
  }

  [[nodiscard]] std::vector<AuthorizationExternalForm> forms() const {
    const std::scoped_lock lock(mutex_);
    return forms_;
  }
  [[nodiscard]] std::vector<Request> requests() const {
    const std::scoped_lock lock(mutex_);
    return requests_;
  }
  [[nodiscard]] bool wasCalled() const {
    const std::scoped_lock lock(mutex_);
    return !forms_.empty() || !requests_.empty();
  }

  std::expected<std::shared_ptr<AuthorizationReference>, AuthorizationStatus> createFromExternalForm(
      const AuthorizationExternalForm& form) override {
    const std::scoped_lock lock(mutex_);
    forms_.push_back(form);
    if (creationStatus_ != authorization_status::success) {
      return std::unexpected(creationStatus_);
    }
    return nullReference_ ? nullptr : std::make_shared<AuthorizationReference>();
  }

  AuthorizationStatus copyRights(AuthorizationReference& reference, const std::string& rightName,
                                 const AuthorizationDetails& details) override {
    const std::scoped_lock lock(mutex_);
    requests_.push_back({&reference, rightName, details});
    return rightsStatus_;
  }

  /// None for a status whose text the test has not set.
  std::optional<std::string> errorMessage(AuthorizationStatus status) override {
    const std::scoped_lock lock(mutex_);
    const auto found = messages_.find(status);
    return found == messages_.end() ? std::nullopt : found->second;
  }

 private:
  template <typename Change>
  void locked(const Change& change) {
    const std::scoped_lock lock(mutex_);
    change();
  }

  mutable std::mutex mutex_;
  AuthorizationStatus creationStatus_ = authorization_status::success;
  bool nullReference_ = false;
  AuthorizationStatus rightsStatus_ = authorization_status::success;
  std::map<AuthorizationStatus, std::optional<std::string>> messages_{
      {authorization_status::success, "No error."},
      {authorization_status::denied, "The authorization was denied."},
      {authorization_status::canceled, "The authorization was canceled by the user."},
      {authorization_status::interactionNotAllowed,
       "The authorization was denied since no user interaction was possible."},
      {authorization_status::internal, "Unable to obtain authorization for this operation."}};
  std::vector<AuthorizationExternalForm> forms_;
  std::vector<Request> requests_;
};

}  // namespace wicket::doubles
