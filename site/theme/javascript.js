// The menu of small screens: closed at first, opened and closed by its button, closed by Escape.
document.addEventListener("DOMContentLoaded", function () {
    var button = document.querySelector(".menu-button");
    if (!button)
        return;
    document.documentElement.classList.add("has-script");
    function show(isOpen) {
        button.setAttribute("aria-expanded", String(isOpen));
        button.textContent = isOpen ? "Close" : "Menu";
    }
    button.addEventListener("click", function () { show(button.getAttribute("aria-expanded") !== "true"); });
    document.addEventListener("keydown", function (event) {
        if (event.key === "Escape" && button.getAttribute("aria-expanded") === "true") {
            show(false);
            button.focus();
        }
    });
});
