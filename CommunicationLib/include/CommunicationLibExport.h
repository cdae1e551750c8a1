#pragma once

/// Marks what the companion library `KYRCommunicationLib` exports; every other symbol stays hidden.
#define KYRCOMMUNICATION_API __attribute__((visibility("default")))
