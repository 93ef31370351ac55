/// A synthetic scene with its layers, for tests of the stacks.
#ifndef KYFOCUS_TESTS_APPS_SYNTH_STACK_SUPPORT_H
#define KYFOCUS_TESTS_APPS_SYNTH_STACK_SUPPORT_H

#include "synth_defocus.h"
#include "synth_frame.h"
#include "synth_surface.h"

namespace test {

inline app::SynthOptions SmallStack() {
    app::SynthOptions options;
    options.Width = 90;
    options.Height = 70;
    options.Frames = 8;
    return options;
}

struct Stage {
    explicit Stage(const app::SynthOptions& options)
        : Options(options), Scene(app::MakeScene(options, app::MarginOf(options))),
          Layers(Scene, app::WidestBlurOf(options)) {}

    app::Image Frame(int frame) const { return app::MakeFrame(Options, Scene, Layers, frame); }
    app::Image Truth() const { return app::MakeTruth(Options, Scene, Layers); }
    float HeightAt(int x, int y) const { return Scene.HeightRow(y + Scene.Margin)[x + Scene.Margin]; }

    /// Whether frame `frame` shows this place of the truth without blur.
    bool IsInFocus(int frame, int x, int y) const {
        const float distance = std::abs(HeightAt(x, y) - static_cast<float>(Options.FocusOf(frame)));
        return app::BlurOf(Options, distance) == 0.0F;
    }

    app::SynthOptions Options;
    app::Scene Scene;
    app::BlurLayers Layers;
};

inline std::int32_t Sample(const KyiImageData& image, int x, int y, int channel) {
    std::int32_t value = 0;
    KyiGetLinePixel(&image, x, y, channel, &value, 1);
    return value;
}

} // namespace test

#endif
