// Drawing a Text item: a four-line weather text laid out and rasterised afresh (as when a
// tag's value changes), the same with every glyph drawn by FreeType again (a first drawing),
// and an unchanged text, which must cost no more than the check that it is unchanged.

#include "imaging/text/text_drawing.h"
#include "imaging/text/text_renderer.h"

#include <string>

#include <benchmark/benchmark.h>

namespace {

const std::string kWeather = "Temperature 21.5\u00B0C <trendup>\r\n"
                             "Humidity 85 %   Dew point 12.3\u00B0C\r\n"
                             "Pressure 1013.2 hPa <trendsteady>\r\n"
                             "Wind NNE 12 km/h, gusts 25 km/h";

tess::TextStyle WeatherStyle() {
    tess::TextStyle style;
    style.font_name = "Arial";
    style.font_size = 14;
    style.color = 0xFFFFFF;
    return style;
}

enum class Glyphs { Cached, FirstDrawing };

void RenderAfresh(benchmark::State& state, Glyphs glyphs) {
    tess::TextRenderer renderer;
    tess::TextStyle style = WeatherStyle();
    tess::DIB picture, opacity;
    for (auto _ : state) {
        if (glyphs == Glyphs::FirstDrawing) renderer.ForgetGlyphs();
        renderer.Render(kWeather, style, picture, opacity);
        benchmark::DoNotOptimize(opacity.DIBPtr());
    }
    state.counters["width"] = opacity.Width();
    state.counters["height"] = opacity.Height();
    state.counters["glyphs_drawn"] = static_cast<double>(renderer.Stats().glyphs_rasterized) /
                                     static_cast<double>(state.iterations());
}

// The glyphs come from the cache, as they do once a text has been drawn a few times.
void BM_RenderWeatherText(benchmark::State& state) {
    RenderAfresh(state, Glyphs::Cached);
}
BENCHMARK(BM_RenderWeatherText)->Unit(benchmark::kMicrosecond);

// The glyph cache emptied each time: FreeType hints and rasterises each distinct glyph once,
// as on the first drawing in a new font or size.
void BM_RenderWeatherTextFirstDrawing(benchmark::State& state) {
    RenderAfresh(state, Glyphs::FirstDrawing);
}
BENCHMARK(BM_RenderWeatherTextFirstDrawing)->Unit(benchmark::kMicrosecond);

void BM_UnchangedTextUpdate(benchmark::State& state) {
    tess::TextRenderer renderer;
    tess::TextStyle style = WeatherStyle();
    tess::TextDrawing item;
    item.Update(renderer, kWeather, style);
    // The Text item compares its freshly expanded string, a separate copy.
    std::string expanded = kWeather;
    for (auto _ : state) {
        bool changed = item.Update(renderer, expanded, style);
        benchmark::DoNotOptimize(changed);
    }
}
BENCHMARK(BM_UnchangedTextUpdate)->Unit(benchmark::kNanosecond);

} // namespace

BENCHMARK_MAIN();
