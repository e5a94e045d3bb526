#include "sourcesettings.h"

#include "context/windowhelpers.h"
#include "download/sources/sourceclient.h"

#include <QComboBox>
#include <QDate>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>

namespace download {

SourceSettingsBox::SourceSettingsBox(QWidget* parent)
    : QGroupBox(QStringLiteral("Quote source"), parent)
    , cboSource(context::named(new QComboBox(this), "cboSource"))
    , txtSourceKey(context::named(new QLineEdit(this), "txtSourceKey"))
    , lstFallback(context::named(new QListWidget(this), "lstFallback"))
    , txtTestSymbol(context::named(new QLineEdit(QStringLiteral("AAPL"), this), "txtTestSymbol"))
    , cmdTestSource(context::named(new QPushButton(QStringLiteral("Test"), this), "cmdTestSource"))
    , lblTestResult(context::named(new QLabel(this), "lblTestResult"))
{
    setObjectName(QStringLiteral("SourceSettingsBox"));
    for (const sources::QuoteSource* source : sources::allSources())
        cboSource->addItem(source->title(), source->name());
    txtSourceKey->setEchoMode(QLineEdit::Password);
    lstFallback->setDragDropMode(QAbstractItemView::InternalMove);
    lstFallback->setMaximumHeight(110);
    lblTestResult->setWordWrap(true);
    lblTestResult->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* test = new QHBoxLayout;
    test->addWidget(txtTestSymbol, 1);
    test->addWidget(cmdTestSource);
    auto* layout = new QFormLayout(this);
    layout->addRow(QStringLiteral("Source:"), cboSource);
    layout->addRow(QStringLiteral("API key:"), txtSourceKey);
    layout->addRow(QStringLiteral("When it has no data, ask:"), lstFallback);
    layout->addRow(QStringLiteral("Test with:"), test);
    layout->addRow(lblTestResult);

    connect(cboSource, &QComboBox::currentIndexChanged, this, &SourceSettingsBox::showSource);
}

QString SourceSettingsBox::chosenName() const
{
    return cboSource->currentData().toString();
}

void SourceSettingsBox::load(const QSettings& settings)
{
    m_keys.clear();
    for (const sources::QuoteSource* source : sources::allSources())
        m_keys.insert(source->name(), settings.value(sources::keySetting(*source)).toString());
    const sources::SourceChoice choice = sources::SourceChoice::fromSettings(settings);
    lstFallback->clear();
    QStringList order = choice.fallback;
    for (const sources::QuoteSource* source : sources::allSources()) {
        if (!order.contains(source->name()))
            order.append(source->name());
    }
    for (const QString& name : order) {
        const sources::QuoteSource* source = sources::findSource(name);
        if (!source)
            continue;
        auto* item = new QListWidgetItem(source->title(), lstFallback);
        item->setData(Qt::UserRole, source->name());
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemIsDragEnabled);
        item->setCheckState(choice.fallback.contains(name) ? Qt::Checked : Qt::Unchecked);
    }
    m_shown.clear();
    const int index = cboSource->findData(choice.source);
    cboSource->setCurrentIndex(index >= 0 ? index : 0);
    showSource();
}

void SourceSettingsBox::showSource()
{
    if (!m_shown.isEmpty())
        m_keys.insert(m_shown, txtSourceKey->text());
    m_shown = chosenName();
    const sources::QuoteSource* source = sources::findSource(m_shown);
    txtSourceKey->setEnabled(source && source->needsKey());
    txtSourceKey->setText(m_keys.value(m_shown));
    txtSourceKey->setPlaceholderText(source && source->needsKey() ? QStringLiteral("needed; from the provider's site")
                                                                  : QStringLiteral("not needed"));
    // The chosen source is not its own fallback.
    for (int i = 0; i < lstFallback->count(); ++i) {
        QListWidgetItem* item = lstFallback->item(i);
        item->setHidden(item->data(Qt::UserRole).toString() == m_shown);
    }
}

void SourceSettingsBox::save(QSettings& settings)
{
    m_keys.insert(m_shown, txtSourceKey->text());
    sources::SourceChoice choice;
    choice.source = chosenName();
    for (int i = 0; i < lstFallback->count(); ++i) {
        const QListWidgetItem* item = lstFallback->item(i);
        if (!item->isHidden() && item->checkState() == Qt::Checked)
            choice.fallback.append(item->data(Qt::UserRole).toString());
    }
    sources::saveSourceSettings(settings, choice, m_keys);
}

void SourceSettingsBox::cmdTestSource_Click(const ServiceAddresses& classic, const QSettings& settings)
{
    const sources::QuoteSource* source = sources::findSource(chosenName());
    const QString symbol = txtTestSymbol->text().trimmed();
    if (!source || symbol.isEmpty()) {
        lblTestResult->setText(QStringLiteral("Enter a symbol to test with."));
        return;
    }
    const bool isClassic = source->name() == sources::ClassicSource;
    const QString address = sources::sourceAddress(*source, settings);
    HttpChannel channel(isClassic ? classic : ServiceAddresses{address, address});
    sources::SourceClient client(*source, channel, txtSourceKey->text().trimmed());
    lblTestResult->setText(QStringLiteral("Asking %1...").arg(source->title()));
    const QDate today = QDate::currentDate();
    const sources::SourceHistory answer = client.history(symbol, today.addDays(-10), today);
    if (!answer.ok) {
        lblTestResult->setText(QStringLiteral("%1\n%2").arg(answer.request, answer.reason));
        return;
    }
    const DailyQuoteRecord& newest = answer.rows.first();
    lblTestResult->setText(QStringLiteral("%1\n%2 bars; the newest: %3  open %4  high %5  low %6  close %7  volume %8")
                               .arg(answer.request)
                               .arg(answer.rows.size())
                               .arg(newest.date)
                               .arg(newest.open)
                               .arg(newest.high)
                               .arg(newest.low)
                               .arg(newest.close)
                               .arg(newest.volume));
}

} // namespace download
