#include "chipchannel.h"

#include <utility>

ChipChannel::ChipChannel(std::shared_ptr<AbstractHidDevice> hidDevice, Cancelled isCancelled)
    : device(std::move(hidDevice))
    , cancelled(std::move(isCancelled))
{
}

bool ChipChannel::setFeatureBlocking(std::vector<unsigned char>* report)
{
    return !(cancelled && *cancelled) && count(device->setFeatureBlocking(report));
}

bool ChipChannel::getFeatureBlocking(std::vector<unsigned char>* report)
{
    return !(cancelled && *cancelled) && count(device->getFeatureBlocking(report));
}

bool ChipChannel::count(bool gotThrough)
{
    ++last.transfer;
    if (gotThrough) {
        lost = {};
        return true;
    }
    if (lost.transfer == 0)
        lost = last;
    if (onFailure)
        onFailure(last);
    return false;
}
