// The converters from normalised 16-bit formats.
#include "Gleamwork/image/ConverterTable.h"

namespace gw::image::details {

void FillRowsOfShorts(ConverterTable& table)
{
    FillRows<Formats16>(table);
    FillRows<Formats16S>(table);
}

} // namespace gw::image::details
