#pragma once

namespace analysis {

// Which main window a tab of the analysis belongs to. The two tabs and the chart window
// are one implementation each; this says where they differ (the super user's area
// options, the order of the budget's clauses, the report and chart window opened).
enum class MainWindow { JefeArea, SuperUsuario };

}  // namespace analysis
