// The converters from packed words.
#include "Gleamwork/image/ConverterTable.h"

namespace gw::image::details {

void FillRowsOfPackedWords(ConverterTable& table)
{
    FillRows<FormatsPacked>(table);
}

} // namespace gw::image::details
