// Draws scenes, and what has changed of them since the last time.
#include "pictures/painter.h"

#include "pictures/sheet.h"

#include <algorithm>
#include <iterator>

namespace vesk::pictures {

namespace {

/// Drawings that are kept have together no more pixels than this; the others are drawn anew each time.
constexpr size_t kMostKept = size_t{1} << 27U;

constexpr uint32_t kBlack = 0xff000000;

} // namespace

class Painter::Canvas {
public:
    explicit Canvas(Files& files) : files_(files) {}

    Drawn Draw(const Scene& scene, uint64_t atMs, const DrawOptions& options)
    {
        const Size size = SizeOf(scene, options);
        std::vector<PlannedLayer> plan = PlanOf(scene, atMs, options, files_);
        std::vector<Shown> layers = Show(std::move(plan));
        std::vector<Rect> changed;
        const Rect whole{0, 0, int32_t(size.width), int32_t(size.height)};
        if (picture_.size != size || layers.size() != layers_.size()) {
            if (picture_.size != size)
                picture_ = Picture(size);
            changed.push_back(whole);
        } else {
            for (size_t i = 0; i < layers.size(); ++i) {
                std::vector<Rect> own;
                AddChanges(layers_[i], layers[i], own);
                std::copy_if(own.begin(), own.end(), std::back_inserter(changed),
                             [&](const Rect& region) { return IsSeen(region, layers, i); });
            }
        }
        layers_ = std::move(layers);
        for (const Rect& region : changed)
            Compose(region);
        version_ += changed.empty() ? 0 : 1;
        return {picture_, version_};
    }

private:
    /// A layer with what it looks like.
    struct Shown {
        PlannedLayer plan;
        std::shared_ptr<Sheet> sheet; ///< Null of a filter window, and of one that is not kept.
        std::vector<Piece> pieces;

        bool Hides(const Rect& region) const
        {
            const bool isOpaque = plan.kind == PlannedLayer::Kind::kFilterWindow ||
                                  (sheet != nullptr && sheet->IsOpaque() && plan.opacity == 100);
            return isOpaque && Contains(plan.place, region);
        }
    };

    std::vector<Shown> Show(std::vector<PlannedLayer> plan)
    {
        std::vector<Shown> layers;
        size_t kept = 0;
        for (PlannedLayer& planned : plan) {
            Shown& shown = layers.emplace_back(Shown{std::move(planned), nullptr, {}});
            if (shown.plan.kind == PlannedLayer::Kind::kFilterWindow)
                continue;
            shown.sheet = Find(shown.plan.look, layers);
            if (shown.sheet == nullptr) {
                kept += shown.plan.look.size.Pixels();
                if (kept <= kMostKept)
                    shown.sheet = FromBefore(layers.size() - 1, shown.plan);
            }
            if (shown.sheet != nullptr)
                shown.pieces = shown.sheet->PiecesAt(shown.plan.moment);
        }
        return layers;
    }

    std::shared_ptr<Sheet> Drawing(const PlannedLayer& planned) const
    {
        return std::make_shared<Sheet>(planned.look, planned.moment.has_value(), font_);
    }

    static std::shared_ptr<Sheet> Find(const Look& look, const std::vector<Shown>& layers)
    {
        const auto found = std::find_if(layers.begin(), layers.end(), [&](const Shown& shown) {
            return shown.sheet != nullptr && shown.sheet->Of() == look;
        });
        return found == layers.end() ? nullptr : found->sheet;
    }

    /// The drawing of the last time, which in most cases was in the same place, or else a new one.
    std::shared_ptr<Sheet> FromBefore(size_t place, const PlannedLayer& planned) const
    {
        if (place < layers_.size() && layers_[place].sheet != nullptr &&
            layers_[place].sheet->Of() == planned.look)
            return layers_[place].sheet;
        const auto found = Find(planned.look, layers_);
        return found != nullptr ? found : Drawing(planned);
    }

    static void AddChanges(const Shown& before, const Shown& now, std::vector<Rect>& changed)
    {
        const bool isKept = before.sheet != nullptr && now.sheet != nullptr;
        if (!before.plan.LiesAs(now.plan)) {
            changed.insert(changed.end(), {before.plan.place, now.plan.place});
        } else if (isKept && before.sheet == now.sheet && before.pieces.size() == now.pieces.size()) {
            for (size_t i = 0; i < now.pieces.size(); ++i) {
                if (before.pieces[i] == now.pieces[i])
                    continue;
                for (const Piece& piece : {before.pieces[i], now.pieces[i]})
                    changed.push_back(
                        Shared(Moved(piece.Where(), now.plan.place.x, now.plan.place.y), now.plan.place));
            }
        } else if (isKept || !(before.plan.look == now.plan.look) || before.plan.moment != now.plan.moment) {
            changed.push_back(now.plan.place);
        }
    }

    /// False for what layers in front of one hide.
    static bool IsSeen(const Rect& region, const std::vector<Shown>& layers, size_t layer)
    {
        return !region.IsEmpty() &&
               std::none_of(layers.begin() + static_cast<ptrdiff_t>(layer) + 1, layers.end(),
                            [&](const Shown& shown) { return shown.Hides(region); });
    }

    void Compose(const Rect& region)
    {
        size_t first = layers_.size();
        while (first > 0 && !layers_[first - 1].Hides(region))
            --first;
        if (first == 0)
            Blacken(region);
        else
            --first;
        for (size_t i = first; i < layers_.size(); ++i) {
            const Rect seen = Shared(layers_[i].plan.place, region);
            if (!seen.IsEmpty())
                Compose(i, seen);
        }
    }

    void Compose(size_t layer, const Rect& region)
    {
        const Shown& shown = layers_[layer];
        if (shown.plan.kind == PlannedLayer::Kind::kFilterWindow) {
            Blacken(region);
            for (size_t i = 0; i < layer; ++i) {
                if (layers_[i].plan.kind == PlannedLayer::Kind::kWallpaper)
                    Blend(layers_[i], region);
            }
        } else {
            Blend(shown, region);
        }
    }

    void Blend(const Shown& shown, const Rect& region)
    {
        if (Shared(shown.plan.place, region).IsEmpty())
            return;
        if (shown.sheet != nullptr) {
            shown.sheet->Blend(picture_, shown.plan.place, region, shown.pieces, shown.plan.opacity);
        } else {
            const auto sheet = Drawing(shown.plan);
            sheet->Blend(picture_, shown.plan.place, region, sheet->PiecesAt(shown.plan.moment),
                         shown.plan.opacity);
        }
    }

    void Blacken(const Rect& region)
    {
        for (int32_t y = region.y; y < region.y + region.height; ++y)
            std::fill_n(picture_.pixels.begin() + static_cast<ptrdiff_t>(size_t(y) * picture_.size.width) +
                            region.x,
                        region.width, kBlack);
    }

    Files& files_;
    Font font_;
    Picture picture_;
    uint64_t version_ = 0;
    std::vector<Shown> layers_;
};

Painter::Painter(Files& files) : canvas_(std::make_unique<Canvas>(files)) {}

Painter::~Painter() = default;

Painter::Drawn Painter::Draw(const Scene& scene, uint64_t atMs, const DrawOptions& options)
{
    return canvas_->Draw(scene, atMs, options);
}

} // namespace vesk::pictures
