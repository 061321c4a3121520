#include "chipchannel.h"

#include <utility>

ChipChannel::ChipChannel(std::shared_ptr<AbstractHidDevice> hidDevice, Cancelled isCancelled)
    : device(std::move(hidDevice))
    , cancelled(std::move(isCancelled))
{
}

bool ChipChannel::setFeatureBlocking(std::vector<unsigned char>* report)
{
    return !isCancelled() && count(device->setFeatureBlocking(report));
}

bool ChipChannel::getFeatureBlocking(std::vector<unsigned char>* report)
{
    return !isCancelled() && count(device->getFeatureBlocking(report));
}

bool ChipChannel::count(bool isDone)
{
    ++last.transfer;
    last.isFailed = !isDone;
    if (isDone) {
        lost = {};
        return true;
    }
    if (!lost.isFailed)
        lost = last;
    if (onFailure)
        onFailure(last);
    return false;
}
