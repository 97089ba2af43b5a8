#include "diag/factory/LimitDropDown.h"

#include "core/Logger.h"
#include "views/ButtonView.h"
#include "views/table/TableModelIndex.h"

#include <QtMath>

namespace {

const QString NoLimit = QStringLiteral("NONE");

QStringList limitChoices(int minimum, int maximum, int step)
{
    QStringList choices{NoLimit};
    if (step <= 0) {
        Logger(nullptr, "ERROR") << "limit step" << step << "is not positive - only" << NoLimit << "is offered";
        return choices;
    }
    for (qint64 limit = minimum; limit <= maximum; limit += step)
        choices << QString::number(limit);
    return choices;
}

} // namespace

LimitDropDown::LimitDropDown(DisplayView* parent, IntDataValue& value, int minimum, int maximum, int step, int noneValue)
    : DropDownPicker(parent, limitChoices(minimum, maximum, step), 0, 250, SettingsPickerStyle, nullptr,
                     new ButtonView(parent, Style("SettingsDropDownButton; Width:250")))
    , mBinding(this)
    , mMinimum(minimum)
    , mMaximum(qMax(minimum, maximum))
    , mStep(step)
    , mNoneValue(noneValue)
{
    connect(this, SIGNAL(itemSelected(TableModelIndex)), this, SLOT(limitSelected(TableModelIndex)));
    connect(&mBinding, &DataValueBinding::changed, this, &LimitDropDown::limitChanged);
    mBinding.bind(&value);
}

void LimitDropDown::limitChanged()
{
    const DataValueBinding::Reading r = mBinding.read();
    const int limit = r.shown().toInt();
    if ((r.valid || r.pending) && limit == mNoneValue) {
        setChoiceIndex(0);
        return;
    }
    const int clamped = qBound(mMinimum, limit, mMaximum);
    const int rounded = mStep > 0 ? qRound(qreal(clamped) / mStep) * mStep : clamped;
    // -1 when the rounded limit is not among the choices: nothing is shown chosen.
    setChoiceIndex(choices().indexOf(QString::number(rounded), 1));
}

void LimitDropDown::limitSelected(TableModelIndex index)
{
    const int limit = index.row() == 0 ? mNoneValue : choices().value(index.row()).toInt();
    mBinding.write(limit, DataValueBinding::WriteMode::Request);
}
