// The one place where the terminal's language turns into an installed English
// translation; the window and the command-line check both start with it.
#pragma once

// Installs ":/probix_en.qm" when the language decision says English. Without the
// file the source texts, the Chinese ones, stand.
void installTranslation();
