#pragma once

#include <QString>
#include <QWidget>
#include <array>
#include <exception>
#include <memory>

class QPushButton;
class QRadioButton;

namespace store {
class Connection;
class ShapeRecordset;
}

namespace analysis {

class ChartView;

// The chart window, "Estadísticas de empleo del tiempo de trabajo": runs a SHAPE statement
// on a connection of its own and draws the hours by group (the column `agrupar`) and by
// area. frmEstadisticasSuperUsuario and frmEstadisticasJefeArea are this window; they
// differ only in the main window whose query they show.
//
// The window deletes itself when closed (cmdClose, Esc, the title bar): the next opening
// loads it anew. Create it with new.
class ChartWindow : public QWidget {
    Q_OBJECT
public:
    // The copies of the parent's members taken at load.
    ChartWindow(const QString &consulta, const QString &agrupar, QWidget *parent = nullptr);
    ~ChartWindow() override;

    const QString &consulta() const { return m_consulta; }
    const QString &agrupar() const { return m_agrupar; }
    ChartView *chart() const { return m_chart; }

    // The load: opens the shaping connection (or takes the open one), runs `consulta`, CargarGrafica with
    // `agrupar`, "HorHoras" and "AreDescripcion", then MostrarMarcadores(false). An error ends
    // it with MostrarError; the window stays usable.
    void load();

    // The routines of the window.
    void CargarGrafica(const store::ShapeRecordset &records, const QString &campoFila, const QString &campoDato,
                       const QString &campoColumna);
    void MostrarMarcadores(bool visible);
    void MostrarError(const std::exception &error);

    // The type value given to the chart by each option of optTipo.
    static int typeOfOption(int index);

    // Sizes are kept in twips. The window opens large enough for the names of the groups
    // and areas to be read (900 by 620 pixels on a screen of 96 dots per inch).
    static constexpr int kInnerWidth = 13500;
    static constexpr int kInnerHeight = 9300;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    // Loads the grid from the records without drawing it; false (after MostrarError) if it
    // could not.
    bool fillGrid(const store::ShapeRecordset &records, const QString &campoFila, const QString &campoDato,
                  const QString &campoColumna);
    void placeControls();
    void copyChart();
    int twipsToPixels(int twips) const;
    int pixelsToTwips(int pixels) const;

    QString m_consulta;
    QString m_agrupar;
    ChartView *m_chart = nullptr;
    // The shaping connection, kept between loads (and shared with any other whole reading of
    // the same store).
    std::shared_ptr<store::Connection> m_conn;
    std::array<QRadioButton *, 4> m_optTipo{};
    QPushButton *m_cmdCopiar = nullptr;
    QPushButton *m_cmdClose = nullptr;
    // Widths in twips of optTipo(0) to optTipo(3), cmdCopiar and cmdClose, and the height
    // of the bottom row, worked out from their captions.
    std::array<int, 6> m_width{};
    int m_rowHeight = 0;
};

}  // namespace analysis
