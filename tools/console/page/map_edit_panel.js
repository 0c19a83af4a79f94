// The map editor's controls: the tools, the fields of the selected shape,
// sending to the robot with its verdict, import and export. The edit last
// sent to this robot (kept by the console) is the starting point.
import { lastMapEdit, sendMapEdit } from './api.js';
import { MapEditor } from './map_edit.js';

const $ = (id) => document.getElementById(id);

function summary(editor) {
  const count = (kind) => editor.shapes.filter((s) => s.kind === kind).length;
  return `${count('room')} rooms, ${count('area')} blocked areas, ${count('wall')} walls, ` +
    `${count('station')} charging stations, ${count('start')} start positions`;
}

function download(name, text) {
  const link = document.createElement('a');
  link.href = URL.createObjectURL(new Blob([text], { type: 'application/json' }));
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 1000);
}

function showSelected(editor) {
  const shape = editor.selected;
  $('edit-selected').textContent = shape ? shape.id : 'nothing selected';
  if (shape?.kind === 'room') {
    $('edit-name').value = shape.name;
    $('edit-color').value = shape.color;
    $('edit-desc').value = shape.desc ?? '';
  }
  if (shape && shape.points.length === 1) $('edit-heading').value = Math.round(((shape.theta ?? 0) * 180) / Math.PI);
  $('edit-delete').disabled = !shape;
}

// log(text, failed): the page's activity list.
export async function mapEditPanel(view, log) {
  const editor = new MapEditor(view, (e) => {
    $('edit-summary').textContent = summary(e);
    for (const button of document.querySelectorAll('[data-tool]'))
      button.setAttribute('aria-pressed', String(button.dataset.tool === e.tool));
    $('edit-finish').disabled = !e.drawing;
    showSelected(e);
  });
  for (const button of document.querySelectorAll('[data-tool]'))
    button.addEventListener('click', () => editor.setTool(button.dataset.tool));
  $('edit-finish').addEventListener('click', () => editor.finish());
  $('edit-undo').addEventListener('click', () => editor.undo());
  $('edit-delete').addEventListener('click', () => editor.deleteSelected());
  view.canvas.addEventListener('keydown', (event) => {
    if (event.key === 'Enter') editor.finish();
    if (event.key === 'Delete') editor.deleteSelected();
    if (event.key === 'z' && (event.ctrlKey || event.metaKey)) editor.undo();
  });
  for (const id of ['edit-name', 'edit-color', 'edit-desc', 'edit-heading'])
    $(id).addEventListener('change', () =>
      editor.restyle({
        name: $('edit-name').value,
        color: $('edit-color').value,
        desc: $('edit-desc').value,
        heading: Number($('edit-heading').value) || 0,
      }));

  $('edit-send').addEventListener('click', async () => {
    const document = editor.document();
    $('edit-verdict').textContent = 'sending…';
    try {
      await sendMapEdit(document);
      editor.version = Number(document.Request.Set.ByPass.info.version);
      $('edit-verdict').textContent = `accepted by the robot: ${summary(editor)} (version ${editor.version})`;
      log('Map edit: accepted by the robot');
    } catch (error) {
      $('edit-verdict').textContent = `not taken: ${error.message}`;
      log(`Map edit: ${error.message}`, true);
    }
  });
  $('edit-export').addEventListener('click', () =>
    download('map-edit.json', `${JSON.stringify(editor.document(), null, 2)}\n`));
  $('edit-import').addEventListener('change', async () => {
    const file = $('edit-import').files[0];
    try {
      editor.load(JSON.parse(await file.text()));
      log(`Map edit: ${file.name} imported (${summary(editor)})`);
    } catch (error) {
      log(`Map edit: ${file.name}: ${error.message}`, true);
    }
    $('edit-import').value = '';
  });

  const last = await lastMapEdit();
  if (last) {
    editor.load(last, false);
    $('edit-verdict').textContent = `the edit last sent to this robot (version ${editor.version}) is loaded`;
  }
  return editor;
}
