// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>

namespace wicket::frameworks {

/// The property list that lies in the executable. Set while no other thread reads it.
void setInformationDictionary(NSDictionary<NSString*, id>* information);

}  // namespace wicket::frameworks
