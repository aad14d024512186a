# find_package(QxLogTracker [COMPONENTS tracker recorder]) gives the targets whose files are installed:
#
#   QxLogTracker::QxLogTracker   for programs that track others
#   QxLogTracker::recorder       for programs that are traced, and with it qx_trace_functions
foreach(file IN ITEMS QxLogTrackerTargets QxRecorderTargets)
    include(${CMAKE_CURRENT_LIST_DIR}/${file}.cmake OPTIONAL)
endforeach()

set(QxLogTracker_tracker_FOUND FALSE)
set(QxLogTracker_recorder_FOUND FALSE)
if(TARGET QxLogTracker::QxLogTracker)
    set(QxLogTracker_tracker_FOUND TRUE)
endif()
if(TARGET QxLogTracker::recorder)
    set(QxLogTracker_recorder_FOUND TRUE)
    include(${CMAKE_CURRENT_LIST_DIR}/QxTraceFunctions.cmake)
endif()
foreach(component IN LISTS QxLogTracker_FIND_COMPONENTS)
    if(QxLogTracker_FIND_REQUIRED_${component} AND NOT QxLogTracker_${component}_FOUND)
        set(QxLogTracker_FOUND FALSE)
        string(CONCAT QxLogTracker_NOT_FOUND_MESSAGE "The component ${component} is not installed; there are tracker "
                      "(in Debian's packages: libqxlogtracker-dev) and recorder (libqxrecorder-dev)")
    endif()
endforeach()
