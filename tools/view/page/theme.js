// SPDX-License-Identifier: Apache-2.0
// Light, dark, or as the system has it.

const CHOICES = ["system", "light", "dark"];

function stored() {
    try {
        return localStorage.getItem("theme");
    } catch {
        return null;  // storage is switched off
    }
}

function store(choice) {
    try {
        localStorage.setItem("theme", choice);
    } catch {
        // The choice lasts as long as the page.
    }
}

export function themeSwitch(button) {
    const show = (choice) => {
        document.documentElement.dataset.theme = choice;
        button.textContent = `Theme: ${choice}`;
    };
    show(CHOICES.includes(stored()) ? stored() : "system");
    button.addEventListener("click", () => {
        const present = CHOICES.indexOf(document.documentElement.dataset.theme);
        const choice = CHOICES[(present + 1) % CHOICES.length];
        store(choice);
        show(choice);
    });
}
