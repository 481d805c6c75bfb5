// The converters from 8-bit formats.
#include "Gleamwork/image/ConverterTable.h"

namespace gw::image::details {

void FillRowsOfBytes(ConverterTable& table)
{
    FillRows<Formats8>(table);
    FillRows<Formats8S>(table);
}

} // namespace gw::image::details
