// Turns the pages of an album with the arrow keys, and goes back to all photographs with Escape.
document.addEventListener("keydown", function (event) {
    if (event.altKey || event.ctrlKey || event.metaKey || event.shiftKey || /^(INPUT|TEXTAREA|SELECT)$/.test(event.target.tagName))
        return;
    var leads = { ArrowLeft: "prev", ArrowRight: "next", Escape: "up" }[event.key];
    var link = leads && document.querySelector(".album-pages a[rel~=" + leads + "]");
    if (link)
        location.href = link.href;
});
