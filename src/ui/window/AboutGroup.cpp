#include "ui/window/AboutGroup.h"

#include "ui/window/Appearance.h"
#include "ui/window/Contrast.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace quorvel::ui {

namespace {

class TintedBadge final : public QWidget {
  public:
    explicit TintedBadge(QWidget* parent) : QWidget(parent) {
        setObjectName("badge");
        setFixedSize(side, side);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QColor accent = accentColor(palette());
        QColor background = accent;
        background.setAlphaF(0.1F);
        painter.setPen(Qt::NoPen);
        painter.setBrush(background);
        painter.drawRoundedRect(rect(), radius, radius);
        constexpr int margin = (side - iconSize) / 2;
        const QColor tint = legibleOn(accent, {palette().color(QPalette::Window)});
        painter.drawPixmap(margin, margin,
                           tintedPixmap("drive-connected", iconSize, devicePixelRatioF(), tint));
    }

  private:
    static constexpr int side = 38;
    static constexpr int iconSize = 24;
    static constexpr int radius = 9;
};

QLabel* subtitle(const QString& version, QWidget* parent) {
    auto* label = plainLabel("A local-network companion by Brenvik · " +
                                 (version.isEmpty() ? QStringLiteral("—") : version),
                             parent);
    label->setObjectName("aboutSubtitle");
    label->setFont(scaledFont(label->font(), textSize::caption));
    label->setForegroundRole(secondaryText);
    label->setWordWrap(true); // for very large fonts
    return label;
}

} // namespace

AboutGroup::AboutGroup(const QString& version, QWidget* parent) : QGroupBox("About", parent) {
    auto* name = plainLabel("Quorvel Server", this);
    name->setFont(scaledFont(name->font(), textSize::body, QFont::DemiBold));

    auto* lines = new QVBoxLayout;
    lines->setSpacing(2);
    lines->addWidget(name);
    lines->addWidget(subtitle(version, this));

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(groupMargins);
    row->setSpacing(12);
    row->addWidget(new TintedBadge(this));
    row->addLayout(lines, 1);
}

} // namespace quorvel::ui
