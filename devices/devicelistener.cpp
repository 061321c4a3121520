#include "devicelistener.h"

DeviceListener::DeviceListener(QObject* parent)
    : QObject(parent)
{
}
