// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/NSCollections.h>
#include <Foundation/NSProcess.h>
#include <Foundation/NSValues.h>
#include <Foundation/NSXPCConnection.h>
#include <dispatch/dispatch.h>
#include <objc/runtime.h>
