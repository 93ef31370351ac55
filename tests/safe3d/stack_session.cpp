#include "safe3d/stack_session.h"

#include <cmath>

namespace test {

Session StartStack(const StackSettings& settings, const std::filesystem::path& folder) {
    Session session(KyfAllocFocusComposition());
    const std::wstring name = folder.wstring();
    KyfFocusInitializeParameter initial{};
    initial.TempFolder = name.c_str();
    initial.ScopeType = settings.ScopeType;
    initial.TrimInvalidBorder = settings.TrimInvalidBorder;
    initial.DisableGPU = 1;
    KyfFocusInitialize(session.get(), &initial);
    KyfFocusComposition2DSelectionParameter two{};
    two.CompSize = 8;
    two.Smoothing = 6;
    KyfFocusComposition3DSelectionParameter three{};
    three.Speed = settings.Speed;
    three.PlaneType = settings.PlaneType;
    three.AutoPos = settings.AutoPos;
    three.HalationMeasures = settings.HalationMeasures;
    three.AdoptionPeakPosition = settings.Adoption;
    three.FocusingValueDetectionSensitivity = settings.Sensitivity;
    three.D3ShapeSmoothing = settings.D3ShapeSmoothing;
    three.ProjectionNoiseRemove = settings.ProjectionNoiseRemove;
    KyfFocusStartComplexProcessing(session.get(), &two, &three);
    session->Mode = settings.Mode;
    return session;
}

Image ReliefFrame(std::int32_t width, std::int32_t height, std::int32_t format, std::int32_t frame, std::int32_t count,
                  std::uint32_t seed) {
    const Image texture = RandomImage(width, height, format, seed);
    const std::vector<std::int32_t> grain = ToPlanes(*texture);
    std::vector<std::int32_t> planes(grain.size());
    const std::int32_t largest = KyiGetMaxVal(format);
    std::size_t at = 0;
    for (int channel = 0; channel < ChannelCount(format); ++channel) {
        for (std::int32_t y = 0; y < height; ++y) {
            for (std::int32_t x = 0; x < width; ++x, ++at) {
                const double surface =
                    (count - 1) * (0.5 + 0.25 * std::sin(7.0 * x / width) + 0.25 * std::cos(9.0 * y / height));
                const double distance = frame - surface;
                const double contrast = 1.0 / (1.0 + 0.5 * distance * distance);
                planes[at] = static_cast<std::int32_t>(largest * 0.5 + (grain[at] - largest * 0.5) * contrast * 0.9);
            }
        }
    }
    return FromPlanes(width, height, format, planes);
}

bool AddRelief(KyfFocusComposition& session, std::int32_t width, std::int32_t height, std::int32_t format,
               std::int32_t count, std::uint32_t seed, KyiBool parallel) {
    for (std::int32_t i = 0; i < count; ++i) {
        const Image frame = ReliefFrame(width, height, format, i, count, seed);
        if (KyfFocusAddImageWithHeight(&session, frame.get(), 10.0 * i, parallel, nullptr) != KyfResultOk) return false;
    }
    return true;
}

std::vector<double> Flatten(double* const* rows, std::int32_t width, std::int32_t height) {
    std::vector<double> values;
    for (std::int32_t y = 0; rows && y < height; ++y) values.insert(values.end(), rows[y], rows[y] + width);
    return values;
}

} // namespace test
