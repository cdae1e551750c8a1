#pragma once

/// Marks what the companion library `KYRUtilLib` exports; every other symbol stays hidden.
#define KYRUTIL_API __attribute__((visibility("default")))
