// Applies the style sheet shared by all panels and the one of the display profile.
#pragma once

class QWidget;

/** Apply the style sheet shared by all panels to the application. */
void setGlobalStyleSheet();

/**
 * Apply the style sheet of a display profile to a window.
 * @param profile value of displayprofile::modelFor(); no effect for 0
 */
void setProfileStyleSheet(QWidget *window, int profile);
