#pragma once

class QObject;

/// Starts the driver-uninstall tool that lies beside the program for the device with the given USB
/// identifiers. Nobody waits for it; its process object belongs to @p parent and goes with the tool's end.
void startUninstallTool(QObject* parent, unsigned short vendorId, unsigned short productId);
