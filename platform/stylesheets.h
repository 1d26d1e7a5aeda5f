// Style sheets: which one the panel's size selects, and how it gets onto a window.
#pragma once

class QWidget;

/** Installs the style sheet that every panel shares on the application. */
void setGlobalStyleSheet();

/**
 * Installs a display profile's style sheet on a window.
 * @param profile a value of displayprofile::modelFor(); with 0 nothing changes
 */
void setProfileStyleSheet(QWidget *window, int profile);
