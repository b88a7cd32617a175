# Headers that most sources include, compiled once: otherwise they take half of the time to compile
# a source.
#
# pelorin_precompile(<target> <core|gui|widgets>) lets a target use the precompiled headers of Qt
# Core (core), of Qt Core and Qt Gui (gui), or of these and Qt Widgets (widgets). A source still
# includes what it uses: clang-tidy and the mutation run compile without precompiled headers.
set(PELORIN_CORE_HEADERS
    <QByteArray> <QCoreApplication> <QDateTime> <QDir> <QFile> <QFileInfo> <QHash> <QList> <QMutex>
    <QObject> <QPointer> <QProcess> <QSettings> <QString> <QStringList> <QTemporaryDir> <QThread>
    <QTimer> <QUrl> <QVariant>
    <algorithm> <array> <atomic> <chrono> <condition_variable> <cstring> <functional> <map> <memory>
    <mutex> <optional> <set> <string> <string_view> <thread> <utility> <vector>)
set(PELORIN_GUI_HEADERS ${PELORIN_CORE_HEADERS}
    <QAccessible> <QColor> <QFont> <QGuiApplication> <QImage> <QKeyEvent> <QPainter> <QScreen>
    <QTextDocument> <QWindow>)
set(PELORIN_WIDGETS_HEADERS ${PELORIN_GUI_HEADERS}
    <QApplication> <QComboBox> <QLabel> <QToolButton> <QWidget>)

function(pelorin_precompiled name headers qt)
    add_library(pelorin_precompiled_${name} STATIC ${PROJECT_SOURCE_DIR}/cmake/precompiled.cpp)
    set_target_properties(pelorin_precompiled_${name} PROPERTIES AUTOMOC OFF)
    target_link_libraries(pelorin_precompiled_${name} PRIVATE pelorin_options ${qt})
    target_precompile_headers(pelorin_precompiled_${name} PRIVATE ${headers})
endfunction()

pelorin_precompiled(core "${PELORIN_CORE_HEADERS}" Qt6::Core)
if(PELORIN_WINDOW)
    pelorin_precompiled(gui "${PELORIN_GUI_HEADERS}" Qt6::Gui)
    pelorin_precompiled(widgets "${PELORIN_WIDGETS_HEADERS}" Qt6::Widgets)
endif()

function(pelorin_precompile target name)
    target_precompile_headers(${target} REUSE_FROM pelorin_precompiled_${name})
    if(CMAKE_DISABLE_PRECOMPILE_HEADERS AND name MATCHES "^test_")
        target_compile_options(${target} PRIVATE
            -include ${PROJECT_SOURCE_DIR}/tests/support/Patience.h)
    endif()
endfunction()
