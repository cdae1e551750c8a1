#pragma once

/// Marks what `libKYRZoviLib` exports; every other symbol stays hidden.
#define KYRZOVI_API __attribute__((visibility("default")))
