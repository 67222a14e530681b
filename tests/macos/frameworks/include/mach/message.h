// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

typedef struct {
  unsigned int val[8];
} audit_token_t;
