#include "bench/wine/BareSymbolSession.h"
#include "bench/wine/Timing.h"
#include "tests/com/Service.h"
#include "tests/system/product/Product.h"

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <vector>

// Compares the time of a failing collection, nearly all of which is its stack trace, with that of a bare session of the symbol
// handler over the same kind of stack. Both run in turn; the first failure of the process is reported by itself.
//   traced-failure
namespace
{
constexpr double kBar = 1.15;
constexpr int kRounds = 15;

double failingCollection(const Product& product)
{
    return milliseconds(
        [&]
        {
            if (product.collect("cpus") != std::to_string(EXPORT_STATUS_WMI_QUERY))
                throw std::runtime_error("the collection does not fail");
        });
}

bool run()
{
    const Product product;
    fakes::serve(product.module);
    fakes::service.answer = fakes::failing(L"ExecQuery");

    const double cold = failingCollection(product);
    traceWithBareSession(product.module);
    std::vector<double> warm, bare;
    for (int round = 0; round < kRounds; ++round)
    {
        warm.push_back(failingCollection(product));
        bare.push_back(milliseconds([&] { traceWithBareSession(product.module); }));
    }
    const double ratio = quantile(warm, 0.5) / quantile(bare, 0.5);
    std::printf("traced failure: cold %.0f ms, warm %.0f ms, bare session of the symbol handler %.0f ms\n", cold,
                quantile(warm, 0.5), quantile(bare, 0.5));
    return printFigure("a traced failure against a bare session of the symbol handler", ratio, kBar);
}
}

int main()
{
    try
    {
        return run() ? 0 : 1;
    }
    catch (const std::exception& failure)
    {
        std::printf("%s\n", failure.what());
        return 2;
    }
}
