// Debug lines.
//
//   lines_add  adding a million segments of one colour, one call each, against appending their points to a vector
//              under the same kind of lock, both into memory of the frame before
#include "bench/common/Ratio.h"

#include "Gleamwork/GleamworkSDM.h"
#include "Gleamwork/LineMan.h"

#include <vector>

namespace {

GleamworkSDM s_gleamwork;

constexpr unsigned c_segments = 1000000;

const std::vector<Vector3f>& Points()
{
    static const std::vector<Vector3f> points = [] {
        std::vector<Vector3f> made;
        for (unsigned i = 0; i < 2 * c_segments; ++i)
            made.emplace_back(float(i), float(i % 3), 4.0f);
        return made;
    }();
    return points;
}

void AddLines(benchmark::State& state)
{
    gw::LineMan& lines = *gw::LineMan::GetInstance();
    const std::vector<Vector3f>& source = Points();
    const Vector4f color(1, 0.5f, 0.25f, 1);
    for (auto _ : state) {
        for (unsigned i = 0; i < 2 * c_segments; i += 2)
            lines.AddLine(source[i], source[i + 1], color, 0.0f);
        lines.Update(qs::GameTime());
    }
}

void AppendPoints(benchmark::State& state)
{
    const std::vector<Vector3f>& source = Points();
    qs::CriticalSection section;
    std::vector<Vector3f> points;
    for (auto _ : state) {
        points.clear();
        for (unsigned i = 0; i < 2 * c_segments; i += 2) {
            qs::CSLock lock(section);
            points.push_back(source[i]);
            points.push_back(source[i + 1]);
        }
        benchmark::DoNotOptimize(points.data());
    }
}

} // namespace

int main(int argc, char** argv)
{
    bench::AddRow("lines_add", AddLines, AppendPoints, bench::ETime::Processor);
    return bench::Run(argc, argv);
}
