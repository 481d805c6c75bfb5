// The converters from floating-point formats.
#include "Gleamwork/image/ConverterTable.h"

namespace gw::image::details {

void FillRowsOfFloats(ConverterTable& table)
{
    FillRows<Formats16F>(table);
    FillRows<Formats32F>(table);
}

} // namespace gw::image::details
