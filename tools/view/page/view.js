// SPDX-License-Identifier: Apache-2.0
const shown = {};
const source = new EventSource('events');
for (const name of ['cabin', 'settings', 'live', 'gone']) {
  source.addEventListener(name, (event) => {
    shown[name] = JSON.parse(event.data);
    document.getElementById('text').textContent = JSON.stringify(shown, null, 1);
  });
}
