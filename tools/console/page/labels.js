// Names for the robot's status, docking and error codes, from the console's
// table (built in, or the site's --labels file). The page shows the name
// with the code beside it: "charging (1)"; a code the table does not know
// is shown as it is.
import { labels } from './api.js';

let table = { status: {}, docking: {}, errors: {} };

export async function loadLabels() {
  table = await labels();
}

// section: "status", "docking" or "errors". Unknown errors take the "*" entry.
export function label(section, code) {
  const entry = table[section]?.[String(code)] ?? (section === 'errors' ? table.errors['*'] : undefined);
  return entry ? { text: `${entry.label} (${code})`, severity: entry.severity } : { text: String(code), severity: '' };
}

// Writes the labelled code into an element, its severity as data-severity.
export function showLabel(element, section, code) {
  const { text, severity } = label(section, code);
  element.textContent = text;
  element.dataset.severity = severity;
}
