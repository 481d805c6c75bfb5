// The converters from unnormalised integer formats.
#include "Gleamwork/image/ConverterTable.h"

namespace gw::image::details {

void FillRowsOfIntegers(ConverterTable& table)
{
    FillRows<Formats16I>(table);
    FillRows<Formats32I>(table);
    FillRows<Formats16UI>(table);
    FillRows<Formats32UI>(table);
}

} // namespace gw::image::details
